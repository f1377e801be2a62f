#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "platform/Export.h"
#include "thread/ZMutexBase.h"
#include "thread/ZSemaphore.h"

namespace tlk {

/// A mutex for short bookkeeping: one atomic operation while nobody competes. It has no owner and
/// cannot be taken twice.
class TLKC2_API LightMutex {
 public:
  /// `name` is for diagnostics; it stays the caller's and outlives the object.
  explicit LightMutex(const char* name) : fSemaphore(name, 0) {}

  /// Throws `ZThread::Disposed` to a thread that waits when the mutex is destroyed.
  void Acquire();

  /// Lets the next one in. There must be a holder.
  void Release();

 private:
  /// The holder and those who wait.
  std::atomic<std::int32_t> fCount{0};
  ZSemaphore fSemaphore;
};

/// Many threads read, or one writes. Waiting writers go before readers that come later, but a
/// thread that reads already gets the read side again at once. Reading and writing may be nested,
/// and the writer may take the read side as well; it gives one hold back for each release, of
/// either side. A reader that asks for the write side waits for itself.
///
/// Two habits of it are kept because they are relied on: the read side knows no limit, and a writer
/// whose limit runs out takes the lock all the same, beside those who hold it.
///
/// Taking either side succeeds or throws: `ZThread::Disposed` to threads that wait while the lock
/// is destroyed and must not touch it any more, and `std::bad_alloc`, with nothing changed, when
/// there is no room to note one more reader.
class TLKC2_API ZRWLock {
 public:
  /// The side of those who read.
  class Read final : public ZMutexBase {
   public:
    /// The limit is not used.
    [[nodiscard]] LockResult Acquire(std::int64_t limit) override;
    [[nodiscard]] LockResult Acquire() override;
    void Release() noexcept override;
    [[nodiscard]] bool IsHeld() const override;

   private:
    friend class ZRWLock;
    explicit Read(ZRWLock& lock) : ZMutexBase("ZRWLock::Read"), fLock(lock) {}

    ZRWLock& fLock;
  };

  /// The side of the one who writes.
  class Write final : public ZMutexBase {
   public:
    /// A limit that runs out ends the wait, not the attempt.
    [[nodiscard]] LockResult Acquire(std::int64_t limit) override;
    [[nodiscard]] LockResult Acquire() override;
    void Release() noexcept override;
    [[nodiscard]] bool IsHeld() const override;

   private:
    friend class ZRWLock;
    explicit Write(ZRWLock& lock) : ZMutexBase("ZRWLock::Write"), fLock(lock) {}

    ZRWLock& fLock;
  };

  ZRWLock() = default;
  ZRWLock(const ZRWLock&) = delete;
  ZRWLock& operator=(const ZRWLock&) = delete;

  /// A side, to be taken like any other lock. It lives as long as this object.
  /// @{
  [[nodiscard]] Read& ReadSide() { return fRead; }
  [[nodiscard]] Write& WriteSide() { return fWrite; }
  /// @}

  /// How many threads wait for either side in this moment.
  [[nodiscard]] std::int32_t Waiters() const;

 private:
  enum class Admission { kEntered, kFirstWaiting, kLaterWaiting };

  /// What the word says: how its thread, in the low half, has the lock, or that the fields say it.
  static constexpr std::uint64_t kFree = 0;
  static constexpr std::uint64_t kReads = 0x1'0000'0000;
  static constexpr std::uint64_t kWrites = 0x2'0000'0000;
  static constexpr std::uint64_t kInFields = 0x3'0000'0000;

  void AcquireRead();
  void AcquireWrite(std::int64_t limit);
  /// Gives back what the thread has, of which `kReads` or `kWrites` is a guess.
  void Release(std::uint64_t guess) noexcept;
  void ReleaseInFields(std::uint32_t self);
  [[nodiscard]] bool IsReadHeld() const;
  [[nodiscard]] bool IsWriteHeld() const;

  [[nodiscard]] bool TakeFree(std::uint64_t taken) {
    std::uint64_t state = kFree;
    return fState.compare_exchange_strong(state, taken, std::memory_order_acquire,
                                          std::memory_order_relaxed);
  }

  [[nodiscard]] Admission AskToRead(std::uint32_t self);
  void LetReadersIn();

  // These run with the structure lock.
  void MoveStateToFields();
  void RestIfNobodyIsThere();
  [[nodiscard]] bool IsReader(std::uint32_t thread) const;
  void MakeRoomForReaders();
  [[nodiscard]] bool EndRead(std::uint32_t self);
  [[nodiscard]] bool EndWrite();

  /// The invariant: who has the lock stands in one place, either in this word, and then the fields
  /// below are empty and `fSem_Access` has its unit, or, while the word is `kInFields`, in the
  /// fields, and then the unit belongs to whoever has the lock.
  ///
  /// The word can tell of nobody, or of one thread once; taking and giving the lock is then one
  /// operation on it. Whoever finds more to tell moves it to the fields, with the structure lock,
  /// and the last one to leave, when nobody waits, puts the word back in charge.
  std::atomic<std::uint64_t> fState{kFree};
  static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

  mutable LightMutex fMutex_Structure{"ZRWLock::fMutex_Structure"};

  /// Its unit belongs to the readers together, or to the writer.
  ZSemaphore fSem_Access{"ZRWLock::fSem_Access", 1};

  /// Lets in the readers that came behind the first one that waits.
  ZSemaphore fSem_SubsequentReaders{"ZRWLock::fSem_SubsequentReaders", 0};

  std::int32_t fWaitingWriters = 0;
  std::int32_t fWriterRecursion = 0;
  std::uint32_t fWriter = 0;
  std::int32_t fWaitingReaders = 0;
  std::int32_t fActiveReaders = 0;

  /// Whether a writer has ever come in without the unit. Then the invariant does not hold for it,
  /// and the fields stay in charge.
  bool fWasForced = false;

  /// A thread stands here as often as it reads.
  std::vector<std::uint32_t> fReaderThreads;

  Read fRead{*this};
  Write fWrite{*this};
};

}  // namespace tlk
