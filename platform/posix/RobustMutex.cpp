#include "platform/posix/RobustMutex.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

#include "platform/CallingThread.h"
#include "platform/posix/ThreadContext.h"

namespace tlk {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

timespec WallClockIn(steady_clock::duration delay) {
  const auto moment = std::chrono::system_clock::now().time_since_epoch() + delay;
  const auto whole = std::chrono::floor<std::chrono::seconds>(moment);
  return {.tv_sec = whole.count(), .tv_nsec = std::chrono::nanoseconds(moment - whole).count()};
}

}  // namespace

RobustMutex::RobustMutex(Sharing sharing) : m_sharing(sharing) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  if (sharing == Sharing::kProcesses)
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  const int result = pthread_mutex_init(&m_mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  m_isValid = result == 0;
  if (!m_isValid) SetLastThreadError(result);
}

RobustMutex::~RobustMutex() {
  if (m_isValid) pthread_mutex_destroy(&m_mutex);
}

WaitResult RobustMutex::Wait(std::uint32_t limit) {
  const int result = limit == kNoLimit ? pthread_mutex_lock(&m_mutex) : LockWithin(limit);
  if (result == EBUSY || result == ETIMEDOUT) return WaitResult::kTimedOut;
  if (result != 0 && result != EOWNERDEAD) {
    SetLastThreadError(result);
    return WaitResult::kFailed;
  }
  if (result == EOWNERDEAD) {
    pthread_mutex_consistent(&m_mutex);
    m_holds = 0;
  }
  m_owner.store(CallingThread(), std::memory_order_relaxed);
  ++m_holds;
  return result == EOWNERDEAD ? WaitResult::kAbandoned : WaitResult::kSignalled;
}

int RobustMutex::LockWithin(std::uint32_t limit) {
  int result = pthread_mutex_trylock(&m_mutex);
  // The timed lock that sanitizers and valgrind know waits by the wall clock. It is called for
  // short pieces, and the steady clock measures the whole, so that setting the time of day cannot
  // stretch the wait.
  constexpr steady_clock::duration kPiece = milliseconds(500);
  const auto deadline = steady_clock::now() + milliseconds(limit);
  for (auto left = deadline - steady_clock::now();
       (result == EBUSY || result == ETIMEDOUT) && left > steady_clock::duration::zero();
       left = deadline - steady_clock::now()) {
    const timespec until = WallClockIn(std::min(left, kPiece));
    result = pthread_mutex_timedlock(&m_mutex, &until);
  }
  return result;
}

bool RobustMutex::Release() {
  if (!IsOwner()) {
    SetLastThreadError(thread_error::kNotOwner);
    return false;
  }
  if (--m_holds == 0) m_owner.store(0, std::memory_order_relaxed);
  return pthread_mutex_unlock(&m_mutex) == 0;
}

bool RobustMutex::LetGo() {
  const WaitResult result = Wait(0);
  if (result == WaitResult::kTimedOut)
    return m_sharing == Sharing::kProcesses && !IsOwnedByThisProcess();
  while (IsOwner() && Release()) {
  }
  return true;
}

bool RobustMutex::IsOwner() const {
  return m_owner.load(std::memory_order_relaxed) == CallingThread();
}

bool RobustMutex::IsOwnedByThisProcess() const {
  const auto owner = static_cast<pid_t>(m_owner.load(std::memory_order_relaxed));
  return owner != 0 && tgkill(getpid(), owner, 0) == 0;
}

}  // namespace tlk
