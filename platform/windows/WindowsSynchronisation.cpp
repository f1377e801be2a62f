#include "platform/windows/WindowsSynchronisation.h"

#include <array>
#include <utility>

#include "platform/CallingThread.h"
#include "platform/windows/OwnedHandle.h"
#include "platform/windows/WindowsOpenedThread.h"
#include "platform/windows/WindowsThread.h"
#include "platform/windows/WindowsThreadSlot.h"

namespace tlk {
namespace {

static_assert(static_cast<DWORD>(WaitResult::kSignalled) == WAIT_OBJECT_0);
static_assert(static_cast<DWORD>(WaitResult::kAbandoned) == WAIT_ABANDONED);
static_assert(static_cast<DWORD>(WaitResult::kTimedOut) == WAIT_TIMEOUT);
static_assert(static_cast<DWORD>(WaitResult::kFailed) == WAIT_FAILED);
static_assert(kNoLimit == INFINITE);

class WindowsMutex final : public SystemMutex {
 public:
  explicit WindowsMutex(OwnedHandle handle) : m_handle(std::move(handle)) {}

  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override {
    return static_cast<WaitResult>(::WaitForSingleObject(m_handle.get(), milliseconds));
  }
  [[nodiscard]] bool Release() override { return ::ReleaseMutex(m_handle.get()) != 0; }

 private:
  const OwnedHandle m_handle;
};

class WindowsEvent final : public SystemEvent {
 public:
  explicit WindowsEvent(OwnedHandle handle) : m_handle(std::move(handle)) {}

  [[nodiscard]] HANDLE Handle() const { return m_handle.get(); }
  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override {
    return static_cast<WaitResult>(::WaitForSingleObject(m_handle.get(), milliseconds));
  }
  void Set() override { ::SetEvent(m_handle.get()); }
  void Reset() override { ::ResetEvent(m_handle.get()); }

 private:
  const OwnedHandle m_handle;
};

/// The object of a handle that the system has just given, or null.
template <typename Object>
std::unique_ptr<Object> ObjectOf(HANDLE handle) {
  OwnedHandle owned(handle);
  return owned ? std::make_unique<Object>(std::move(owned)) : nullptr;
}

}  // namespace

std::unique_ptr<SystemMutex> WindowsSynchronisation::NewMutex() {
  return ObjectOf<WindowsMutex>(::CreateMutexA(nullptr, FALSE, nullptr));
}

std::unique_ptr<SystemMutex> WindowsSynchronisation::OpenNamedMutex(const char* name) {
  return ObjectOf<WindowsMutex>(::OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name));
}

std::unique_ptr<SystemMutex> WindowsSynchronisation::NewNamedMutex(const char* name) {
  return ObjectOf<WindowsMutex>(::CreateMutexA(nullptr, FALSE, name));
}

std::unique_ptr<SystemEvent> WindowsSynchronisation::NewEvent(ResetMode mode, bool signalled) {
  return ObjectOf<WindowsEvent>(
      ::CreateEventA(nullptr, mode == ResetMode::kManual, signalled, nullptr));
}

WaitResult WindowsSynchronisation::WaitEither(SystemEvent& first, SystemEvent& second,
                                              std::uint32_t milliseconds) {
  const std::array handles{static_cast<WindowsEvent&>(first).Handle(),
                           static_cast<WindowsEvent&>(second).Handle()};
  return static_cast<WaitResult>(
      ::WaitForMultipleObjects(handles.size(), handles.data(), FALSE, milliseconds));
}

std::unique_ptr<SystemThread> WindowsSynchronisation::NewThread(std::function<void()> work) {
  return WindowsThread::Create(std::move(work));
}

std::unique_ptr<SystemThread> WindowsSynchronisation::OpenCurrentThread() {
  return WindowsOpenedThread::OpenCurrent();
}

std::unique_ptr<ThreadSlot> WindowsSynchronisation::NewThreadSlot() {
  return WindowsThreadSlot::Create();
}

std::uint32_t CallingThread() noexcept { return ::GetCurrentThreadId(); }

std::uint32_t WindowsSynchronisation::CurrentThreadId() const { return CallingThread(); }

int WindowsSynchronisation::LastError() const { return static_cast<int>(::GetLastError()); }

}  // namespace tlk
