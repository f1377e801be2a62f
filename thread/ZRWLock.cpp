#include "thread/ZRWLock.h"

#include <algorithm>
#include <cstddef>

#include "thread/CallingThread.h"
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
  if (fWriter == self) {
    ++fWriterRecursion;
    return Admission::kEntered;
  }
  MakeRoomForReader();
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
  {
    const StructureLock lock(fMutex_Structure);
    if (fWriter == self) {
      ++fWriterRecursion;
      return;
    }
    ++fWaitingWriters;
  }
  // That the limit ran out is not looked at.
  fSem_Access.WaitOrThrow(1, limit);
  const StructureLock lock(fMutex_Structure);
  --fWaitingWriters;
  fWriter = self;
  fWriterRecursion = 1;
}

void ZRWLock::Release() {
  const std::uint32_t self = CallingThread();
  const StructureLock lock(fMutex_Structure);
  if (fWriter == self ? EndWrite() : EndRead(self)) fSem_Access.Signal(1);
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

bool ZRWLock::IsReadHeld() const {
  const std::uint32_t self = CallingThread();
  const StructureLock lock(fMutex_Structure);
  return IsReader(self) || (fWriter == self && fWriterRecursion != 0);
}

bool ZRWLock::IsWriteHeld() const {
  const std::uint32_t self = CallingThread();
  const StructureLock lock(fMutex_Structure);
  return fWriterRecursion != 0 && fWriter == self;
}

bool ZRWLock::IsReader(std::uint32_t thread) const {
  return std::ranges::find(fReaderThreads, thread) != fReaderThreads.end();
}

// For those, too, who are counted and have yet to note themselves: there is no way back then.
void ZRWLock::MakeRoomForReader() {
  const auto needed = static_cast<std::size_t>(std::max(fActiveReaders, 0) + fWaitingReaders + 1);
  if (needed > fReaderThreads.capacity()) fReaderThreads.reserve(2 * needed);
}

LockResult ZRWLock::Read::Acquire(std::int64_t /*limit*/) { return Acquire(); }

LockResult ZRWLock::Read::Acquire() {
  fLock.AcquireRead();
  return LockResult::kAcquired;
}

// Whoever finds the lock destroyed here has given it back.
void ZRWLock::Read::Release() noexcept {
  try {
    fLock.Release();
  } catch (const ZThread::Disposed&) {
  }
}

bool ZRWLock::Read::IsHeld() const { return fLock.IsReadHeld(); }

LockResult ZRWLock::Write::Acquire(std::int64_t limit) {
  fLock.AcquireWrite(limit);
  return LockResult::kAcquired;
}

LockResult ZRWLock::Write::Acquire() { return Write::Acquire(kForever); }

void ZRWLock::Write::Release() noexcept { fLock.fRead.Release(); }

bool ZRWLock::Write::IsHeld() const { return fLock.IsWriteHeld(); }

}  // namespace tlk
