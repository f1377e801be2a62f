#pragma once

#include <memory>
#include <utility>

#include "platform/Synchronisation.h"
#include "platform/windows/OwnedHandle.h"

namespace tlk {

/// The thread that opens it, whoever made that thread, by a handle of its own that child processes
/// may inherit.
class WindowsOpenedThread final : public SystemThread {
 public:
  /// Null, with the last error set, when the system refuses.
  [[nodiscard]] static std::unique_ptr<WindowsOpenedThread> OpenCurrent();

  ~WindowsOpenedThread() override;
  WindowsOpenedThread(const WindowsOpenedThread&) = delete;
  WindowsOpenedThread& operator=(const WindowsOpenedThread&) = delete;

  [[nodiscard]] std::uint32_t Id() const override { return m_id; }
  void Resume() override {}
  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override;
  void LeaveOpen() override { m_isLeftOpen = true; }

 private:
  WindowsOpenedThread(OwnedHandle handle, DWORD id) : m_handle(std::move(handle)), m_id(id) {}

  OwnedHandle m_handle;
  const DWORD m_id;
  bool m_isLeftOpen = false;
};

}  // namespace tlk
