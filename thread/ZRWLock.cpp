#include "thread/ZRWLock.h"

#include <algorithm>
#include <cstddef>

#include "platform/CallingThread.h"
#include "thread/ZThread.h"

namespace tlk {

namespace {

/// Has the structure lock for a scope.
class StructureLock {
 public:
  explicit StructureLock(LightMutex& mutex) : m_mutex(mutex) { m_mutex.Acquire(); }
  ~StructureLock() { m_mutex.Release(); }
  StructureLock(const StructureLock&) = delete;
  StructureLock& operator=(const StructureLock&) = delete;

 private:
  LightMutex& m_mutex;
};

}  // namespace

void LightMutex::Acquire() {
  if (fCount.fetch_add(1, std::memory_order_acquire) >= 1) fSemaphore.WaitOrThrow(1);
}

void LightMutex::Release() {
  if (fCount.fetch_sub(1, std::memory_order_release) > 1) fSemaphore.Signal(1);
}

std::int32_t ZRWLock::Waiters() const {
  return fSem_Access.Waiters() + fSem_SubsequentReaders.Waiters();
}

void ZRWLock::AcquireRead() {
  const std::uint32_t self = CallingThread();
  if (TakeFree(kReads | self)) return;
  const Admission admission = AskToRead(self);
  if (admission == Admission::kEntered) return;
  if (admission == Admission::kFirstWaiting) {
    fSem_Access.WaitOrThrow(1);
    LetReadersIn();
  } else {
    fSem_SubsequentReaders.WaitOrThrow(1);
  }
  const StructureLock lock(fMutex_Structure);
  fReaderThreads.push_back(self);
}

ZRWLock::Admission ZRWLock::AskToRead(std::uint32_t self) {
  const StructureLock lock(fMutex_Structure);
  MakeRoomForReaders();
  MoveStateToFields();
  if (fWriter == self) {
    ++fWriterRecursion;
    return Admission::kEntered;
  }
  if (fActiveReaders > 0 && (fWaitingWriters == 0 || IsReader(self))) {
    ++fActiveReaders;
    fReaderThreads.push_back(self);
    return Admission::kEntered;
  }
  ++fWaitingReaders;
  return fWaitingReaders == 1 ? Admission::kFirstWaiting : Admission::kLaterWaiting;
}

void ZRWLock::LetReadersIn() {
  const StructureLock lock(fMutex_Structure);
  fSem_SubsequentReaders.Signal(fWaitingReaders - 1);
  fActiveReaders += fWaitingReaders;
  fWaitingReaders = 0;
}

void ZRWLock::AcquireWrite(std::int64_t limit) {
  const std::uint32_t self = CallingThread();
  if (TakeFree(kWrites | self)) return;
  {
    const StructureLock lock(fMutex_Structure);
    MakeRoomForReaders();
    MoveStateToFields();
    if (fWriter == self) {
      ++fWriterRecursion;
      return;
    }
    ++fWaitingWriters;
  }
  // A writer whose limit has run out comes in all the same.
  const bool isForced = fSem_Access.WaitOrThrow(1, limit) == LockResult::kTimedOut;
  const StructureLock lock(fMutex_Structure);
  fWasForced = fWasForced || isForced;
  --fWaitingWriters;
  fWriter = self;
  fWriterRecursion = 1;
}

// A thread that finds the lock destroyed meanwhile has nothing left to give back.
void ZRWLock::Release(std::uint64_t guess) noexcept {
  const std::uint32_t self = CallingThread();
  std::uint64_t state = guess | self;
  do {
    if (fState.compare_exchange_weak(state, kFree, std::memory_order_release,
                                     std::memory_order_relaxed)) {
      return;
    }
  } while (state == (kReads | self) || state == (kWrites | self));
  try {
    ReleaseInFields(self);
  } catch (const ZThread::Disposed&) {
  }
}

void ZRWLock::ReleaseInFields(std::uint32_t self) {
  const StructureLock lock(fMutex_Structure);
  MoveStateToFields();
  if (!(fWriter == self ? EndWrite() : EndRead(self))) return;
  fSem_Access.Signal(1);
  RestIfNobodyIsThere();
}

bool ZRWLock::EndRead(std::uint32_t self) {
  const auto found = std::ranges::find(fReaderThreads, self);
  if (found != fReaderThreads.end()) fReaderThreads.erase(found);
  --fActiveReaders;
  return fActiveReaders == 0;
}

bool ZRWLock::EndWrite() {
  --fWriterRecursion;
  if (fWriterRecursion != 0) return false;
  fWriter = 0;
  return true;
}

// No lock is needed while the word is in charge: what it says of the calling thread stays true, for
// others can only move it to the fields.
bool ZRWLock::IsReadHeld() const {
  const std::uint32_t self = CallingThread();
  const std::uint64_t state = fState.load(std::memory_order_relaxed);
  if (state != kInFields) return state == (kReads | self) || state == (kWrites | self);
  const StructureLock lock(fMutex_Structure);
  return IsReader(self) || (fWriter == self && fWriterRecursion != 0);
}

bool ZRWLock::IsWriteHeld() const {
  const std::uint32_t self = CallingThread();
  const std::uint64_t state = fState.load(std::memory_order_relaxed);
  if (state != kInFields) return state == (kWrites | self);
  const StructureLock lock(fMutex_Structure);
  return fWriterRecursion != 0 && fWriter == self;
}

void ZRWLock::MoveStateToFields() {
  const std::uint64_t state = fState.exchange(kInFields, std::memory_order_acquire);
  const auto thread = static_cast<std::uint32_t>(state);
  if (state == kFree || state == kInFields) return;
  static_cast<void>(fSem_Access.Wait(1, 0));
  if (state == (kReads | thread)) {
    fActiveReaders = 1;
    fReaderThreads.push_back(thread);
  } else {
    fWriter = thread;
    fWriterRecursion = 1;
  }
}

void ZRWLock::RestIfNobodyIsThere() {
  const bool isIdle = fActiveReaders == 0 && fReaderThreads.empty() && fWriter == 0;
  const bool isAwaited = fWaitingReaders > 0 || fWaitingWriters > 0;
  if (isIdle && !isAwaited && !fWasForced) fState.store(kFree, std::memory_order_release);
}

bool ZRWLock::IsReader(std::uint32_t thread) const {
  return std::ranges::find(fReaderThreads, thread) != fReaderThreads.end();
}

// Room for one more, for the one that the word may name, and for those who are let in already and
// have yet to note themselves: when they do, it is too late to fail.
void ZRWLock::MakeRoomForReaders() {
  const auto needed = static_cast<std::size_t>(std::max(fActiveReaders, 0) + fWaitingReaders + 2);
  if (needed > fReaderThreads.capacity()) fReaderThreads.reserve(2 * needed);
}

LockResult ZRWLock::Read::Acquire(std::int64_t /*limit*/) { return Acquire(); }

LockResult ZRWLock::Read::Acquire() {
  fLock.AcquireRead();
  return LockResult::kAcquired;
}

void ZRWLock::Read::Release() noexcept { fLock.Release(kReads); }

bool ZRWLock::Read::IsHeld() const { return fLock.IsReadHeld(); }

LockResult ZRWLock::Write::Acquire(std::int64_t limit) {
  fLock.AcquireWrite(limit);
  return LockResult::kAcquired;
}

LockResult ZRWLock::Write::Acquire() { return Write::Acquire(kForever); }

void ZRWLock::Write::Release() noexcept { fLock.Release(kWrites); }

bool ZRWLock::Write::IsHeld() const { return fLock.IsWriteHeld(); }

}  // namespace tlk
