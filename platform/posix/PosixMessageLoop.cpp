#include <poll.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/posix/MessageLoop.h"
#include "platform/posix/MessageLoopParts.h"

namespace tlk {

namespace {

constexpr std::int64_t kLongestWait = 1000000;

}  // namespace

MessageLoop::MessageLoop() : m_parts(std::make_unique<Parts>()) {}

MessageLoop::~MessageLoop() = default;

bool MessageLoop::DispatchOnce(int milliseconds) {
  const bool notified = m_parts->sockets.WaitAndDeliver(WaitLimit(milliseconds));
  const bool fired = FireTimers();
  const bool called = m_parts->calls.CallDue();
  return notified || fired || called;
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
  pollfd waits[] = {{.fd = WaitDescriptor(), .events = POLLIN, .revents = 0},
                    {.fd = descriptor, .events = POLLIN, .revents = 0}};
  const int limit = WaitLimit(milliseconds);
  const bool waited = ::poll(waits, std::size(waits), limit) >= 0;
  DispatchOnce(0);
  return waited && waits[1].revents != 0;
}

bool MessageLoop::Post(std::function<void()> function) noexcept {
  return m_parts->calls.Post(std::move(function));
}

int MessageLoop::WaitDescriptor() const { return m_parts->sockets.WaitDescriptor(); }

int MessageLoop::MillisecondsToNext() const {
  if (m_parts->sockets.HasAtHand() || m_parts->calls.AreWaiting()) return 0;
  return m_parts->timers.MillisecondsToNext();
}

Sockets& MessageLoop::GetSockets() { return m_parts->sockets; }

int MessageLoop::WaitLimit(int milliseconds) const {
  const int next = MillisecondsToNext();
  if (milliseconds < 0 || next < 0) return std::max(milliseconds, next);
  return std::min(milliseconds, next);
}

bool MessageLoop::FireTimers() {
  const auto now = TimerQueue::Clock::now();
  bool fired = false;
  while (m_parts->timers.FireOne(now)) {
    fired = true;
  }
  return fired;
}

}  // namespace tlk
