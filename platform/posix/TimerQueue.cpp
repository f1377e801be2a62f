#include "platform/posix/TimerQueue.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tlk {

struct WindowTimers::Timer {
  TimerReceiver* receiver;
  std::uintptr_t id;
  std::chrono::milliseconds period{0};
  TimerQueue::Clock::time_point deadline{};
  bool running = false;
  bool queued = false;
  TimerQueue::Queue::iterator place{};
  TimerQueue::Queue::node_type spare{};  // the place, while it is not in the queue
};

WindowTimers::WindowTimers(TimerQueue& queue, TimerReceiver& receiver)
    : m_queue(queue), m_receiver(receiver) {}

WindowTimers::~WindowTimers() {
  for (const auto& timer : m_timers) {
    if (timer->queued) m_queue.m_queue.erase(timer->place);
  }
}

void WindowTimers::Start(std::uintptr_t id, std::uint32_t milliseconds) {
  auto found = std::find_if(m_timers.begin(), m_timers.end(),
                            [id](const auto& timer) { return timer->id == id; });
  if (found == m_timers.end()) {
    found =
        m_timers.insert(found, std::make_unique<Timer>(Timer{.receiver = &m_receiver, .id = id}));
  }
  auto& timer = **found;
  timer.period = std::chrono::milliseconds(milliseconds);
  timer.deadline = TimerQueue::Clock::now() + timer.period;
  if (timer.queued && timer.deadline < timer.place->first) m_queue.TakeOut(timer);
  if (!timer.queued) m_queue.Enqueue(timer);
  timer.running = true;
}

void WindowTimers::Stop(std::uintptr_t id) {
  for (const auto& timer : m_timers) {
    if (timer->id == id) timer->running = false;
  }
}

int TimerQueue::MillisecondsToNext() const {
  if (m_queue.empty()) return -1;
  const auto rest =
      std::chrono::ceil<std::chrono::milliseconds>(m_queue.begin()->first - Clock::now());
  return static_cast<int>(
      std::clamp<std::int64_t>(rest.count(), 0, std::numeric_limits<int>::max()));
}

bool TimerQueue::FireOne(Clock::time_point now) {
  while (!m_queue.empty() && m_queue.begin()->first <= now) {
    auto& timer = *m_queue.begin()->second;
    TakeOut(timer);
    if (!timer.running) continue;
    const bool due = timer.deadline <= now;
    if (due) {
      // A period of no length would never let the queue run empty.
      timer.deadline = now + std::max(timer.period, std::chrono::milliseconds(1));
    }
    Enqueue(timer);
    if (due) {
      // The handler may destroy the timer.
      timer.receiver->OnTimerDue(timer.id);
      return true;
    }
  }
  return false;
}

// Only the first time asks for memory: a timer that once ran can be started whatever happens.
void TimerQueue::Enqueue(WindowTimers::Timer& timer) {
  if (timer.spare.empty()) {
    timer.place = m_queue.emplace(timer.deadline, &timer);
  } else {
    timer.spare.key() = timer.deadline;
    timer.place = m_queue.insert(std::move(timer.spare));
  }
  timer.queued = true;
}

void TimerQueue::TakeOut(WindowTimers::Timer& timer) {
  timer.spare = m_queue.extract(timer.place);
  timer.queued = false;
}

}  // namespace tlk
