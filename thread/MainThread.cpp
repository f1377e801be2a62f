#include "thread/MainThread.h"

#include "platform/Synchronisation.h"
#include "thread/ThreadLayer.h"

namespace tlk {

MainThread__::MainThread__() : ZThread(ThreadLayer::Ports().synchronisation) {}

}  // namespace tlk
