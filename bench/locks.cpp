// Locks that nobody competes for, each taken and given back, and references copied and destroyed.

#include <pthread.h>
#include <semaphore.h>

#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <concepts>
#include <memory>
#include <mutex>
#include <semaphore>
#include <thread>

#include "bench/Comparison.h"
#include "thread/ThreadLayer.h"
#include "thread/ZMutex.h"
#include "thread/ZRWLock.h"
#include "thread/ZRefCount.h"
#include "thread/ZSemaphore.h"

namespace tlk::bench {
namespace {

constexpr const char* kSubject = "locks";
constexpr int kCount = 2'000'000;

/// A second thread that does nothing. Libraries leave the atomic operations out while a process
/// has only one.
class IdleThread {
 public:
  ~IdleThread() { m_end.release(); }

 private:
  std::binary_semaphore m_end{0};
  std::jthread m_thread{[this] { m_end.acquire(); }};
};

/// A round of something that is done again and again.
template <typename Once>
std::function<double()> Round(Once once) {
  return [once] {
    return NanosecondsEach(kCount, [&once](int count) {
      for (; count > 0; --count) once();
    });
  };
}

template <typename Lock>
std::function<double()> LockRound(Lock& lock) {
  return Round([&lock] {
    lock.lock();
    lock.unlock();
  });
}

template <std::derived_from<ZMutexBase> Lock>
std::function<double()> LockRound(Lock& lock) {
  return Round([&lock] {
    static_cast<void>(lock.Acquire());
    lock.Release();
  });
}

/// A reader/writer lock of the system under which writers do not starve.
class WriterPreferringLock {
 public:
  WriterPreferringLock() {
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    pthread_rwlock_init(&m_lock, &attributes);
    pthread_rwlockattr_destroy(&attributes);
  }
  ~WriterPreferringLock() { pthread_rwlock_destroy(&m_lock); }
  WriterPreferringLock(const WriterPreferringLock&) = delete;
  WriterPreferringLock& operator=(const WriterPreferringLock&) = delete;

  pthread_rwlock_t* Get() { return &m_lock; }

 private:
  pthread_rwlock_t m_lock;
};

void CompareMutex() {
  ZMutex mutex("mutex");
  std::recursive_timed_mutex standard;
  boost::recursive_timed_mutex boosts;
  Compare({.subject = kSubject,
           .what = "ZMutex",
           .unit = "ns",
           .ours = LockRound(mutex),
           .limits = {{{"std::recursive_timed_mutex", LockRound(standard)}, 1.0}},
           .peers = {{{"boost::recursive_timed_mutex", LockRound(boosts)}, 0.6}}});
}

void CompareReentry() {
  ZMutex held("held", CreatedHeld::kYes);
  ZMutex free("free");
  Compare({.subject = kSubject,
           .what = "ZMutex held already",
           .unit = "ns",
           .ours = LockRound(held),
           .limits = {{{"first acquire", LockRound(free)}, 0.5}},
           .peers = {}});
}

void CompareReading() {
  ZRWLock lock;
  WriterPreferringLock system;
  boost::shared_mutex boosts;
  const auto systemRound = Round([rwlock = system.Get()] {
    pthread_rwlock_rdlock(rwlock);
    pthread_rwlock_unlock(rwlock);
  });
  const auto boostRound = Round([&boosts] {
    boosts.lock_shared();
    boosts.unlock_shared();
  });
  Compare({.subject = kSubject,
           .what = "ZRWLock read",
           .unit = "ns",
           .ours = LockRound(lock.ReadSide()),
           .limits = {{{"pthread_rwlock_t", systemRound}, 1.5}},
           .peers = {{{"boost::shared_mutex", boostRound}, 0.6}}});
}

void CompareWriting() {
  ZRWLock lock;
  WriterPreferringLock system;
  boost::shared_mutex boosts;
  const auto systemRound = Round([rwlock = system.Get()] {
    pthread_rwlock_wrlock(rwlock);
    pthread_rwlock_unlock(rwlock);
  });
  Compare({.subject = kSubject,
           .what = "ZRWLock write",
           .unit = "ns",
           .ours = LockRound(lock.WriteSide()),
           .limits = {{{"pthread_rwlock_t", systemRound}, 1.5}},
           .peers = {{{"boost::shared_mutex", LockRound(boosts)}, 0.6}}});
}

void CompareSemaphore() {
  ZSemaphore semaphore("semaphore", 1);
  sem_t system;
  sem_init(&system, 0, 1);
  const auto ours = Round([&semaphore] {
    static_cast<void>(semaphore.Wait(1, kForever));
    semaphore.Signal(1);
  });
  const auto limit = Round([&system] {
    sem_wait(&system);
    sem_post(&system);
  });
  Compare({.subject = kSubject,
           .what = "ZSemaphore",
           .unit = "ns",
           .ours = ours,
           .limits = {{{"sem_t", limit}, 1.0}},
           .peers = {}});
  sem_destroy(&system);
}

void CompareReference() {
  struct Counted : ZRefCounted {};
  const ZRef<Counted> reference(new Counted);
  const auto shared = std::make_shared<int>();
  // NOLINTBEGIN(performance-unnecessary-copy-initialization): the copy is what is measured
  const auto ours = Round([reference] { [[maybe_unused]] const auto copy = reference; });
  const auto peer = Round([shared] { [[maybe_unused]] const auto copy = shared; });
  // NOLINTEND(performance-unnecessary-copy-initialization)
  Compare({.subject = kSubject,
           .what = "ZRef copied and destroyed",
           .unit = "ns",
           .ours = ours,
           .limits = {},
           .peers = {{{"std::shared_ptr", peer}, 0.65}}});
}

}  // namespace
}  // namespace tlk::bench

int main() {
  using namespace tlk::bench;
  PinToProcessor(0);
  const tlk::ThreadLayer layer;
  const IdleThread second;
  CompareMutex();
  CompareReentry();
  CompareReading();
  CompareWriting();
  CompareSemaphore();
  CompareReference();
}
