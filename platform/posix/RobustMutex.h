#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "platform/Synchronisation.h"

namespace tlk {

/// A recursive mutex that notices when its owner ended without releasing it. It may lie in memory
/// that several processes share.
class RobustMutex {
 public:
  enum class Sharing { kThreads, kProcesses };

  explicit RobustMutex(Sharing sharing);
  ~RobustMutex();
  RobustMutex(const RobustMutex&) = delete;
  RobustMutex& operator=(const RobustMutex&) = delete;

  /// Whether it could be made; nothing else may be called when it could not.
  [[nodiscard]] bool IsValid() const { return m_isValid; }

  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds);
  [[nodiscard]] bool Release();

  /// Gives back every hold of the calling thread. False when another thread of this process holds
  /// the mutex, so that its memory must stay until that thread has released it or ended.
  [[nodiscard]] bool LetGo();

 private:
  [[nodiscard]] bool IsOwner() const;
  [[nodiscard]] bool IsOwnedByThisProcess() const;
  [[nodiscard]] int LockWithin(std::uint32_t milliseconds);

  pthread_mutex_t m_mutex{};
  const Sharing m_sharing;
  bool m_isValid = false;

  /// The owner's thread number, 0 for none; and how often it holds the mutex.
  std::atomic<std::uint32_t> m_owner{0};
  std::uint32_t m_holds = 0;
};

}  // namespace tlk
