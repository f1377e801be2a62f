#include "platform/windows/WindowsThread.h"

#include <process.h>

#include <utility>

namespace tlk {
namespace {

/// One more hold on the module that this code lies in; null when the system refuses.
HMODULE HoldOwnModule() {
  HMODULE module = nullptr;
  const auto* const address = reinterpret_cast<const wchar_t*>(&HoldOwnModule);
  return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, address, &module) ? module
                                                                                        : nullptr;
}

}  // namespace

/// What the thread and its object share; it stays until both are gone. An empty `work` is what a
/// thread that was never wanted finds.
struct WindowsThread::State {
  std::function<void()> work;
  HMODULE module = nullptr;
};

std::unique_ptr<WindowsThread> WindowsThread::Create(std::function<void()> work) {
  auto state = std::make_shared<State>();
  state->work = std::move(work);
  std::unique_ptr<WindowsThread> thread(new WindowsThread(std::move(state)));
  if (thread->Start()) return thread;
  const DWORD error = ::GetLastError();
  thread.reset();
  ::SetLastError(error);
  return nullptr;
}

bool WindowsThread::Start() {
  auto argument = std::make_unique<std::shared_ptr<State>>(m_state);
  m_state->module = HoldOwnModule();
  if (m_state->module == nullptr) return false;
  const auto handle =
      ::_beginthreadex(nullptr, 0, &WindowsThread::Main, argument.get(), CREATE_SUSPENDED, &m_id);
  if (handle == 0) {
    const DWORD error = ::GetLastError();
    ::FreeLibrary(m_state->module);
    ::SetLastError(error);
    return false;
  }
  static_cast<void>(argument.release());
  m_handle.reset(reinterpret_cast<HANDLE>(handle));
  return true;
}

// Nothing with a destructor may be alive here: the last call does not return.
unsigned WindowsThread::Main(void* argument) noexcept {
  HMODULE const module = RunAndRelease(argument);
  if (module != ::GetModuleHandleW(nullptr)) ::FreeLibraryAndExitThread(module, 0);
  return 0;
}

HMODULE WindowsThread::RunAndRelease(void* argument) noexcept {
  const std::unique_ptr<std::shared_ptr<State>> owned(
      static_cast<std::shared_ptr<State>*>(argument));
  State& state = **owned;
  if (state.work) state.work();
  state.work = nullptr;
  return state.module;
}

WindowsThread::~WindowsThread() {
  if (!m_handle) return;
  if (!m_isResumed) {
    m_state->work = nullptr;
    ::ResumeThread(m_handle.get());
  }
  if (m_isLeftOpen) static_cast<void>(m_handle.release());
}

void WindowsThread::Resume() {
  m_isResumed = true;
  ::ResumeThread(m_handle.get());
}

WaitResult WindowsThread::Wait(std::uint32_t milliseconds) {
  return static_cast<WaitResult>(::WaitForSingleObject(m_handle.get(), milliseconds));
}

}  // namespace tlk
