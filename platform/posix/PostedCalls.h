#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {

/// Functions that other threads have a loop's thread call, in the order in which they came.
class PostedCalls {
 public:
  /// `waitDescriptor` is the epoll set that the loop waits on: a function that comes wakes it.
  explicit PostedCalls(int waitDescriptor);

  PostedCalls(const PostedCalls&) = delete;
  PostedCalls& operator=(const PostedCalls&) = delete;

  /// From any thread; false when the function could not be taken.
  bool Post(std::function<void()> function) noexcept;

  [[nodiscard]] bool AreWaiting() const { return m_areWaiting; }

  /// Calls what has come by now; what comes meanwhile has its turn in the next round. Returns
  /// whether there was anything. A function may come back here: the rest is called inside it then.
  bool CallDue();

 private:
  std::function<void()> TakeFirst();

  const OwnedDescriptor m_wake;
  bool m_wakes = false;
  std::mutex m_mutex;
  std::deque<std::function<void()>> m_functions;
  std::atomic<bool> m_areWaiting = false;  // read without the mutex, in every round
};

}  // namespace tlk
