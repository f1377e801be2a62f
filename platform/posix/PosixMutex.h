#pragma once

#include <memory>

#include "platform/Synchronisation.h"
#include "platform/posix/RobustMutex.h"

namespace tlk {

/// The memory in which a mutex lies.
class MutexHome {
 public:
  virtual ~MutexHome() = default;
  [[nodiscard]] virtual RobustMutex& Mutex() = 0;
};

/// Shares a home among the objects that open it. With the last of them it is left: the calling
/// thread's holds are given back, and the memory is freed as soon as no other thread of this
/// process holds the mutex in it. (The system keeps a list of the mutexes that a thread holds;
/// memory freed under it would be touched when that thread ends.)
[[nodiscard]] std::shared_ptr<MutexHome> ShareMutexHome(std::unique_ptr<MutexHome> home);

/// A mutex, with or without a name.
class PosixMutex final : public SystemMutex {
 public:
  explicit PosixMutex(std::shared_ptr<MutexHome> home)
      : m_home(std::move(home)), m_mutex(m_home->Mutex()) {}

  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override {
    return m_mutex.Wait(milliseconds);
  }
  [[nodiscard]] bool Release() override { return m_mutex.Release(); }

 private:
  const std::shared_ptr<MutexHome> m_home;
  RobustMutex& m_mutex;
};

/// A mutex without a name; null, with the last error set, when there is none to be had.
[[nodiscard]] std::unique_ptr<PosixMutex> NewUnnamedMutex();

}  // namespace tlk
