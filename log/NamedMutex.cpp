#include "log/NamedMutex.h"

#include <mutex>
#include <utility>
#include <vector>

#include "platform/Fork.h"

namespace tlk {

namespace {

// A mutex whose wait has failed stays open until the process ends: programs look at whether the
// name still exists. It is kept in reach, so that it does not count as lost memory.
void LeaveOpen(std::unique_ptr<SystemMutex> mutex) {
  static ForkMutex guard;
  static auto& left = *new std::vector<std::unique_ptr<SystemMutex>>;
  const std::lock_guard lock(guard);
  left.push_back(std::move(mutex));
}

}  // namespace

std::uint32_t MutexStatus(WaitResult result) {
  switch (result) {
    case WaitResult::kTimedOut:
      return mutex_status::kTimedOut;
    case WaitResult::kAbandoned:
      return mutex_status::kAbandoned;
    default:
      return mutex_status::kHeld;
  }
}

std::unique_ptr<SystemMutex> OpenOrCreateMutex(Synchronisation& synchronisation, const char* name,
                                               std::uint32_t& status) {
  if (name == nullptr || *name == '\0') {
    status = mutex_status::kNoName;
    return nullptr;
  }
  auto mutex = synchronisation.OpenNamedMutex(name);
  if (mutex == nullptr) mutex = synchronisation.NewNamedMutex(name);
  status = mutex != nullptr ? mutex_status::kHeld : mutex_status::kNotCreated;
  return mutex;
}

bool IsMutexBusy(Synchronisation& synchronisation, const char* name) {
  std::uint32_t status = 0;
  auto mutex = OpenOrCreateMutex(synchronisation, name, status);
  if (mutex == nullptr) return false;
  const bool isFree = mutex->Wait(0) == WaitResult::kSignalled;
  ReleaseAndCloseMutex(std::move(mutex));
  return !isFree;
}

std::unique_ptr<SystemMutex> AcquireMutex(Synchronisation& synchronisation, const char* name,
                                          std::uint32_t milliseconds, std::uint32_t& status) {
  auto mutex = OpenOrCreateMutex(synchronisation, name, status);
  if (mutex == nullptr) return nullptr;
  const WaitResult result = mutex->Wait(milliseconds);
  status = MutexStatus(result);
  if (result == WaitResult::kSignalled) return mutex;
  if (status == mutex_status::kHeld) {
    LeaveOpen(std::move(mutex));
  } else {
    ReleaseAndCloseMutex(std::move(mutex));
  }
  return nullptr;
}

void ReleaseAndCloseMutex(std::unique_ptr<SystemMutex> mutex) {
  if (mutex != nullptr) (void)mutex->Release();
}

}  // namespace tlk
