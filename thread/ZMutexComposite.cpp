#include "thread/ZMutexComposite.h"

#include <span>
#include <utility>

#include "thread/Deadline.h"

namespace tlk {

namespace {

void ReleaseInReverse(std::span<ZMutexBase* const> locks) {
  for (; !locks.empty(); locks = locks.first(locks.size() - 1)) locks.back()->Release();
}

/// Gives back the locks at the front of a list that have been taken so far, unless they are kept.
class Taken {
 public:
  explicit Taken(std::span<ZMutexBase* const> locks) : m_locks(locks) {}
  ~Taken() { ReleaseInReverse(m_locks.first(m_count)); }
  Taken(const Taken&) = delete;
  Taken& operator=(const Taken&) = delete;

  void AddOne() { ++m_count; }
  void Keep() { m_count = 0; }

 private:
  const std::span<ZMutexBase* const> m_locks;
  std::size_t m_count = 0;
};

}  // namespace

ZMutexComposite::ZMutexComposite(const char* name, std::vector<ZMutexBase*> locks)
    : ZMutexBase(name), fLocks(std::move(locks)) {}

LockResult ZMutexComposite::Acquire(std::int64_t limit) {
  const Deadline deadline(limit);
  Taken taken(fLocks);
  for (ZMutexBase* lock : fLocks) {
    const LockResult result = lock->Acquire(deadline.MicrosecondsLeft());
    if (result != LockResult::kAcquired) return result;
    taken.AddOne();
  }
  taken.Keep();
  return LockResult::kAcquired;
}

void ZMutexComposite::Release() noexcept { ReleaseInReverse(fLocks); }

bool ZMutexComposite::IsHeld() const { return !fLocks.empty() && fLocks.back()->IsHeld(); }

}  // namespace tlk
