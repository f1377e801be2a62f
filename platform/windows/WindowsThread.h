#pragma once

#include <functional>
#include <memory>

#include "platform/Synchronisation.h"
#include "platform/windows/OwnedHandle.h"

namespace tlk {

/// A thread with the default stack size. From its making to its end it holds the module that this
/// code lies in, so that a DLL is never unmapped under it; nobody has to wait for it, and a
/// destructor that runs while the system loads or unloads modules must not.
class WindowsThread final : public SystemThread {
 public:
  /// Null, with the last error set, when the system refuses.
  [[nodiscard]] static std::unique_ptr<WindowsThread> Create(std::function<void()> work);

  ~WindowsThread() override;
  WindowsThread(const WindowsThread&) = delete;
  WindowsThread& operator=(const WindowsThread&) = delete;

  [[nodiscard]] std::uint32_t Id() const override { return m_id; }
  void Resume() override;
  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override;
  void LeaveOpen() override { m_isLeftOpen = true; }

 private:
  struct State;

  explicit WindowsThread(std::shared_ptr<State> state) : m_state(std::move(state)) {}
  [[nodiscard]] bool Start();
  static unsigned __stdcall Main(void* argument) noexcept;
  static HMODULE RunAndRelease(void* argument) noexcept;

  const std::shared_ptr<State> m_state;
  OwnedHandle m_handle;
  unsigned m_id = 0;
  bool m_isResumed = false;
  bool m_isLeftOpen = false;
};

}  // namespace tlk
