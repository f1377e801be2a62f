#pragma once

#include "platform/Synchronisation.h"

namespace tlk {

/// Holds the lock of a log for a scope and tells how the wait for it ended; without a mutex it
/// failed. Unlike `QNManageMutex` it tells a wait that failed from one that succeeded.
class LogLock {
 public:
  explicit LogLock(SystemMutex* mutex)
      : m_mutex(mutex), m_result(mutex != nullptr ? mutex->Wait(kNoLimit) : WaitResult::kFailed) {}
  ~LogLock() {
    if (IsHeld()) (void)m_mutex->Release();
  }

  LogLock(const LogLock&) = delete;
  LogLock& operator=(const LogLock&) = delete;

  [[nodiscard]] WaitResult Result() const { return m_result; }
  [[nodiscard]] bool IsHeld() const {
    return m_result == WaitResult::kSignalled || m_result == WaitResult::kAbandoned;
  }

 private:
  SystemMutex* const m_mutex;
  const WaitResult m_result;
};

}  // namespace tlk
