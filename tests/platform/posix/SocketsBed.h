#pragma once

#include "platform/posix/MessageLoop.h"
#include "tests/platform/posix/LoopbackPeer.h"
