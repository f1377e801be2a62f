#include "platform/windows/WindowsOpenedThread.h"

namespace tlk {

std::unique_ptr<WindowsOpenedThread> WindowsOpenedThread::OpenCurrent() {
  HANDLE const process = ::GetCurrentProcess();
  HANDLE handle = nullptr;
  if (!::DuplicateHandle(process, ::GetCurrentThread(), process, &handle, 0, TRUE,
                         DUPLICATE_SAME_ACCESS)) {
    return nullptr;
  }
  OwnedHandle owned(handle);
  return std::unique_ptr<WindowsOpenedThread>(
      new WindowsOpenedThread(std::move(owned), ::GetCurrentThreadId()));
}

WindowsOpenedThread::~WindowsOpenedThread() {
  if (m_isLeftOpen) static_cast<void>(m_handle.release());
}

WaitResult WindowsOpenedThread::Wait(std::uint32_t milliseconds) {
  return static_cast<WaitResult>(::WaitForSingleObject(m_handle.get(), milliseconds));
}

}  // namespace tlk
