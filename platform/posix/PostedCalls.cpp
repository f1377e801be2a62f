#include "platform/posix/PostedCalls.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace tlk {

PostedCalls::PostedCalls(int waitDescriptor) : m_wake(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  epoll_event event{.events = EPOLLIN, .data = {}};
  event.data.u64 = std::numeric_limits<std::uint64_t>::max();  // No socket's number.
  m_wakes = ::epoll_ctl(waitDescriptor, EPOLL_CTL_ADD, m_wake.Get(), &event) == 0;
}

bool PostedCalls::Post(std::function<void()> function) noexcept try {
  if (!function || !m_wakes) return false;
  const std::lock_guard lock(m_mutex);
  m_functions.push_back(std::move(function));
  m_areWaiting = true;
  ::eventfd_write(m_wake.Get(), 1);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool PostedCalls::CallDue() {
  if (!m_areWaiting) return false;
  std::size_t due = 0;
  {
    const std::lock_guard lock(m_mutex);
    due = m_functions.size();
  }
  for (; due > 0; --due) {
    if (const auto function = TakeFirst()) function();
  }
  return true;
}

std::function<void()> PostedCalls::TakeFirst() {
  const std::lock_guard lock(m_mutex);
  if (m_functions.empty()) return {};
  auto function = std::move(m_functions.front());
  m_functions.pop_front();
  if (m_functions.empty()) {
    m_areWaiting = false;
    eventfd_t count = 0;
    ::eventfd_read(m_wake.Get(), &count);
  }
  return function;
}

}  // namespace tlk
