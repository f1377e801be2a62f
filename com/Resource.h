#pragma once

// Shared with the resource compiler, so these are macros.
#define IDR_TYPE_LIBRARY 1
#define IDR_CLASS 101
#define IDB_TOOLBOX 102
#define IDR_NAMES 103
#define IDS_TRACE_RECORD 101
#define IDS_ERROR_RECORD 102
