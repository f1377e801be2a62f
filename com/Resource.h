#pragma once

// Shared with the resource compiler, so these are macros.
#define IDR_TYPE_LIBRARY 1
#define IDR_REGISTRATION 101
#define IDB_TOOLBOX 102
#define IDS_TRACE_RECORD 101
#define IDS_ERROR_RECORD 102
