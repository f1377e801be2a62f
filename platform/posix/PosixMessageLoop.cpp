#include <poll.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Fork.h"
#include "platform/posix/MessageLoop.h"

namespace tlk {

namespace {

constexpr std::int64_t kLongestWait = 1000000;

}  // namespace

bool MessageLoop::DispatchOnce(int milliseconds) {
  const bool notified = m_sockets.WaitAndDeliver(WaitLimit(milliseconds));
  const bool fired = FireTimers();
  return notified || fired;
}

void MessageLoop::Run(std::uint32_t milliseconds) {
  const auto end = TimerQueue::Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const auto rest =
        std::chrono::ceil<std::chrono::milliseconds>(end - TimerQueue::Clock::now()).count();
    if (rest <= 0) return;
    DispatchOnce(static_cast<int>(std::min<std::int64_t>(rest, kLongestWait)));
  }
}

bool MessageLoop::DispatchOnceOrReadable(int descriptor, int milliseconds) {
  pollfd waits[] = {{.fd = m_sockets.WaitDescriptor(), .events = POLLIN, .revents = 0},
                    {.fd = descriptor, .events = POLLIN, .revents = 0}};
  const int limit = WaitLimit(milliseconds);
  const bool waited = ::poll(waits, std::size(waits), limit) >= 0;
  DispatchOnce(0);
  return waited && waits[1].revents != 0;
}

int MessageLoop::WaitLimit(int milliseconds) const {
  if (m_sockets.HasAtHand()) return 0;
  const int next = m_timers.MillisecondsToNext();
  if (milliseconds < 0 || next < 0) return std::max(milliseconds, next);
  return std::min(milliseconds, next);
}

bool MessageLoop::FireTimers() {
  const auto now = TimerQueue::Clock::now();
  bool fired = false;
  while (m_timers.FireOne(now)) {
    fired = true;
  }
  return fired;
}

MessageWindow::MessageWindow(MessageLoop& loop) : m_loop(loop), m_timers(loop.m_timers, *this) {}

MessageWindow::~MessageWindow() { m_loop.m_sockets.Forget(*this); }

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
