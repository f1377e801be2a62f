#include "platform/posix/MessageWindow.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Fork.h"
#include "platform/posix/MessageLoopParts.h"

namespace tlk {

MessageWindow::MessageWindow(MessageLoop& loop)
    : m_loop(loop), m_timers(loop.m_parts->timers, *this) {}

MessageWindow::~MessageWindow() { m_loop.m_parts->sockets.Forget(*this); }

const PosixSockets& MessageWindow::LoopSockets() const { return m_loop.m_parts->sockets; }

std::uint32_t MessageWindow::RegisterMessage(const char* name) {
  constexpr std::uint32_t kFirstRegistered = 0xC000;
  static ForkMutex mutex;
  static std::vector<std::string> names;
  const std::lock_guard lock(mutex);
  const auto found = std::find(names.begin(), names.end(), name);
  const auto index = found - names.begin();
  if (found == names.end()) names.emplace_back(name);
  return kFirstRegistered + static_cast<std::uint32_t>(index);
}

void MessageWindow::StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) {
  m_timers.Start(timerId, milliseconds);
}

void MessageWindow::StopTimer(std::uintptr_t timerId) { m_timers.Stop(timerId); }

void MessageWindow::Notify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam) {
  if (m_target != nullptr) {
    bool handled = false;
    m_target->OnSocketNotify(message, wParam, lParam, handled);
  }
}

void MessageWindow::OnTimerDue(std::uintptr_t timerId) {
  if (m_target != nullptr) m_target->OnTimer(timerId);
}

}  // namespace tlk
