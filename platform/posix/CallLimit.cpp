#include "platform/posix/CallLimit.h"

#include <poll.h>

#include <algorithm>
#include <limits>

namespace tlk {

CallLimit::CallLimit(std::int32_t milliseconds)
    : m_end(milliseconds == 0 ? Clock::time_point::max()
                              : Clock::now() + std::chrono::milliseconds(
                                                   static_cast<std::uint32_t>(milliseconds))) {}

bool CallLimit::WaitFor(int descriptor, short events) const {
  pollfd wait{.fd = descriptor, .events = events, .revents = 0};
  for (;;) {
    int rest = -1;
    if (m_end != Clock::time_point::max()) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now()).count();
      rest = static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
    }
    // Interrupted, or refused for lack of memory: looked at again until the moment has come.
    if (::poll(&wait, 1, rest) > 0) return true;
    if (rest == 0) return false;
  }
}

}  // namespace tlk
