#pragma once

#include <atomic>
#include <cstdint>

#include "platform/CallingThread.h"
#include "platform/Export.h"
#include "thread/ZMutexBase.h"
#include "thread/ZSemaphore.h"

namespace tlk {

/// Whether the thread that makes a mutex holds it from the beginning.
enum class CreatedHeld : bool { kNo = false, kYes = true };

/// A mutex with an owner, handed on in the order in which threads came for it.
///
/// A thread that waits for it when it is destroyed gets `kDestroyed` and touches it no more. The
/// owner may destroy it.
class TLKC2_API ZMutex final : public ZMutexBase {
 public:
  /// `name` is for diagnostics; it stays the caller's and outlives the object.
  explicit ZMutex(const char* name, CreatedHeld createdHeld = CreatedHeld::kNo);

  [[nodiscard]] LockResult Acquire(std::int64_t limit) override {
    const std::uint32_t self = CallingThread();
    if (fOwner.load(std::memory_order_relaxed) != self) {
      const LockResult result = fSemaphore.Wait(1, limit);
      if (result != LockResult::kAcquired) return result;
      fOwner.store(self, std::memory_order_relaxed);
    }
    ++fRecursion;
    return LockResult::kAcquired;
  }
  [[nodiscard]] LockResult Acquire() override { return ZMutex::Acquire(kForever); }

  /// Not checked: a thread that releases what another holds releases it.
  void Release() noexcept override {
    if (--fRecursion == 0) Free();
  }

  [[nodiscard]] bool IsHeld() const override;

  /// Gives up all holds of the calling thread, to wait for a condition, and returns how many they
  /// were: 0, with nothing done, when it does not own the mutex.
  [[nodiscard]] std::int32_t ReleaseFully();

  /// Takes the mutex again, however long that lasts, with so many holds; nothing for less than 1.
  LockResult Reacquire(std::int32_t holds);

  /// How many threads wait for it in this moment.
  [[nodiscard]] std::int32_t Waiters() const { return fSemaphore.Waiters(); }

 private:
  static constexpr std::uint32_t kNobody = 0;

  /// Lets the next one in, who may destroy the mutex at once.
  void Free() noexcept {
    fOwner.store(kNobody, std::memory_order_relaxed);
    fSemaphore.Signal(1);
  }

  /// A thread only asks whether this is its own number, which nobody else writes. So access to it
  /// is relaxed; the semaphore orders what the mutex protects.
  std::atomic<std::uint32_t> fOwner;
  std::uint32_t fRecursion;
  ZSemaphore fSemaphore;
};

}  // namespace tlk
