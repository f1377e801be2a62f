#include <pthread.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/Fork.h"
#include "platform/posix/ThreadContext.h"

namespace tlk {
namespace {

/// All that takes part in a fork. It is never destroyed: threads that outlive the static objects of
/// the process may still fork.
struct ForkMembers {
  std::mutex mutex;
  std::vector<ForkMutex*> mutexes;
  std::vector<const InForkedChild*> steps;

  static ForkMembers& Get() {
    static ForkMembers& members = *new ForkMembers;
    return members;
  }

  /// The first of the mutexes, `held` left out, that cannot be had at once, and then no other is
  /// kept; null when all are taken.
  [[nodiscard]] ForkMutex* TryTakeAllBut(const ForkMutex* held) const {
    const auto isRefused = [held](ForkMutex* each) { return each != held && !each->try_lock(); };
    const auto refused = std::ranges::find_if(mutexes, isRefused);
    if (refused == mutexes.end()) return nullptr;
    std::for_each(mutexes.begin(), refused, [held](ForkMutex* each) {
      if (each != held) each->unlock();
    });
    return *refused;
  }

  // Another thread may hold one of them and wait for the next, so this waits only while it holds
  // none.
  void TakeAll() {
    mutex.lock();
    ForkMutex* held = nullptr;
    while (ForkMutex* const awaited = TryTakeAllBut(held)) {
      if (held != nullptr) held->unlock();
      awaited->lock();
      held = awaited;
    }
  }

  void GiveAllBack() {
    for (ForkMutex* each : mutexes) each->unlock();
    mutex.unlock();
  }
};

// Registered before the host's handlers, so that these take the mutexes last and give them back
// first: the host's may use the library.
[[maybe_unused]] const int kForkHandlers =
    pthread_atfork([] { ForkMembers::Get().TakeAll(); }, [] { ForkMembers::Get().GiveAllBack(); },
                   [] {
                     ForgetThreadNumber();
                     ForkMembers::Get().GiveAllBack();
                     for (const InForkedChild* each : ForkMembers::Get().steps) each->Call();
                   });

}  // namespace

ForkMutex::ForkMutex() {
  const std::lock_guard lock(ForkMembers::Get().mutex);
  ForkMembers::Get().mutexes.push_back(this);
}

ForkMutex::~ForkMutex() {
  const std::lock_guard lock(ForkMembers::Get().mutex);
  std::erase(ForkMembers::Get().mutexes, this);
}

InForkedChild::InForkedChild(std::function<void()> step) : m_step(std::move(step)) {
  const std::lock_guard lock(ForkMembers::Get().mutex);
  ForkMembers::Get().steps.push_back(this);
}

InForkedChild::~InForkedChild() {
  const std::lock_guard lock(ForkMembers::Get().mutex);
  std::erase(ForkMembers::Get().steps, this);
}

}  // namespace tlk
