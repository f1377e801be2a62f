#include "platform/posix/PosixSynchronisation.h"

#include <utility>

#include "platform/CallingThread.h"
#include "platform/posix/PosixEvent.h"
#include "platform/posix/PosixMutex.h"
#include "platform/posix/PosixNamedMutex.h"
#include "platform/posix/PosixOpenedThread.h"
#include "platform/posix/PosixThread.h"
#include "platform/posix/PosixThreadSlot.h"
#include "platform/posix/ThreadContext.h"

namespace tlk {

std::unique_ptr<SystemMutex> PosixSynchronisation::NewMutex() { return NewUnnamedMutex(); }

std::unique_ptr<SystemMutex> PosixSynchronisation::OpenNamedMutex(const char* name) {
  return OpenNamedMutexObject(name, NamedMutexMode::kOpenExisting);
}

std::unique_ptr<SystemMutex> PosixSynchronisation::NewNamedMutex(const char* name) {
  return OpenNamedMutexObject(name, NamedMutexMode::kOpenOrCreate);
}

std::unique_ptr<SystemEvent> PosixSynchronisation::NewEvent(ResetMode mode, bool signalled) {
  return std::make_unique<PosixEvent>(mode, signalled);
}

WaitResult PosixSynchronisation::WaitEither(SystemEvent& first, SystemEvent& second,
                                            std::uint32_t milliseconds) {
  return PosixEvent::WaitEither(static_cast<PosixEvent&>(first), static_cast<PosixEvent&>(second),
                                milliseconds);
}

std::unique_ptr<SystemThread> PosixSynchronisation::NewThread(std::function<void()> work) {
  return PosixThread::Create(std::move(work));
}

std::unique_ptr<SystemThread> PosixSynchronisation::OpenCurrentThread() {
  return std::make_unique<PosixOpenedThread>();
}

std::unique_ptr<ThreadSlot> PosixSynchronisation::NewThreadSlot() {
  return PosixThreadSlot::Create();
}

std::uint32_t PosixSynchronisation::CurrentThreadId() const { return CallingThread(); }

int PosixSynchronisation::LastError() const { return LastThreadError(); }

}  // namespace tlk
