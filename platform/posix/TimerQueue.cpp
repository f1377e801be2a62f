#include "platform/posix/TimerQueue.h"

#include <algorithm>
#include <limits>

namespace tlk {

struct WindowTimers::Timer {
  TimerReceiver* receiver;
  std::uintptr_t id;
  std::chrono::milliseconds period{0};
  TimerQueue::Clock::time_point deadline{};
  bool running = false;
  bool queued = false;
  TimerQueue::Queue::iterator place{};
};

WindowTimers::WindowTimers(TimerQueue& queue, TimerReceiver& receiver)
    : m_queue(queue), m_receiver(receiver) {}

WindowTimers::~WindowTimers() {
  for (const auto& timer : m_timers) {
    if (timer->queued) {
      m_queue.m_queue.erase(timer->place);
    }
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
  timer.running = true;
  if (timer.queued && timer.deadline < timer.place->first) {
    m_queue.m_queue.erase(timer.place);
    timer.queued = false;
  }
  if (!timer.queued) {
    m_queue.Enqueue(timer);
  }
}

void WindowTimers::Stop(std::uintptr_t id) {
  for (const auto& timer : m_timers) {
    if (timer->id == id) {
      timer->running = false;
    }
  }
}

int TimerQueue::MillisecondsToNext() const {
  if (m_queue.empty()) {
    return -1;
  }
  const auto rest =
      std::chrono::ceil<std::chrono::milliseconds>(m_queue.begin()->first - Clock::now());
  return static_cast<int>(
      std::clamp<std::int64_t>(rest.count(), 0, std::numeric_limits<int>::max()));
}

bool TimerQueue::FireOne(Clock::time_point now) {
  while (!m_queue.empty() && m_queue.begin()->first <= now) {
    auto& timer = *m_queue.begin()->second;
    m_queue.erase(m_queue.begin());
    timer.queued = false;
    if (!timer.running) {
      continue;
    }
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

void TimerQueue::Enqueue(WindowTimers::Timer& timer) {
  timer.place = m_queue.emplace(timer.deadline, &timer);
  timer.queued = true;
}

}  // namespace tlk
