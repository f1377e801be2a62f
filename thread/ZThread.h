#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include "platform/Export.h"

namespace tlk {

class Synchronisation;
class SystemThread;
class ThreadSlot;
class Waitable;

/// A thread that is an object. It is made with `new`, suspended; once started it owns itself: when
/// its work returns, or throws, the object is destroyed and freed on its own thread, which then
/// ends. An exception that leaves the work is reported and ends nothing but the work. Work that
/// ends its thread by itself is as good as returned where the system unwinds the thread for it
/// (`pthread_exit`); where it does not (`ExitThread`), the object is left behind.
class TLKC2_API ZThread {
 public:
  /// Thrown to a thread that waits for a semaphore or lock which is destroyed under it.
  class Disposed : public std::runtime_error {
   public:
    Disposed() : std::runtime_error("ZThread::Disposed") {}
  };

  /// `name` stays the caller's and outlives the object. Throws `std::bad_alloc` when the system
  /// refuses a thread.
  explicit ZThread(const char* name);
  ZThread(const ZThread&) = delete;
  ZThread& operator=(const ZThread&) = delete;

  /// The work.
  virtual void Run() = 0;

  /// Leaves the system's handle of the thread open, for whoever took it over.
  virtual ~ZThread();

  /// Lets the thread run. The object may be gone when this returns.
  void Start();

  /// The system's number of the thread, whether it has been started, and the name that it was made
  /// with.
  /// @{
  [[nodiscard]] std::uint32_t Id() const { return fId; }
  [[nodiscard]] bool IsStarted() const { return fIsStarted; }
  [[nodiscard]] const char* Name() const { return fName; }
  /// @}

  /// To wait for the thread's end with; it may be kept when the object is gone. Null only for a
  /// main thread of which the system gives no handle.
  [[nodiscard]] std::shared_ptr<Waitable> Handle() const;

  /// The object of the calling thread; null for a thread that neither is the main thread nor was
  /// started by this layer.
  [[nodiscard]] static ZThread* Current() noexcept;

  /// The record of the main thread; null while the layer is not held ready.
  [[nodiscard]] static ZThread* MainThread() noexcept { return sMainThread; }

  /// Sleeps for whole milliseconds, the rest cut off; not at all for 0 or less.
  static void Sleep(std::int64_t microseconds);

  /// Microseconds of the system's tick count, which has whole milliseconds.
  [[nodiscard]] static std::int64_t TickMicroseconds();

  /// Waits until something is signalled, or until the tick count has come to the deadline. True
  /// when it was signalled; false at once when the deadline is not in the future, or when the
  /// system refuses to wait.
  [[nodiscard]] static bool WaitUntil(Waitable& handle, std::int64_t deadline);

  /// The time now, since the beginning of 1601, and the processor time that the process has used,
  /// both in microseconds; both 0 when the system does not tell.
  static void ProcessTimes(std::int64_t& now, std::int64_t& processor);

 protected:
  /// Makes the record of the main thread out of the calling thread.
  explicit ZThread(Synchronisation& synchronisation);

  /// What `MainThread` gives.
  static std::atomic<ZThread*> sMainThread;

 private:
  /// What each of the layer's threads runs, from its start to its end.
  static void RunShim(ZThread* object);
  void RunReported();
  static void ForgetMainThread() noexcept;

  static std::atomic<ThreadSlot*> sSlot;

  std::uint32_t fId = 0;
  bool fIsStarted = false;
  const char* const fName;
  const std::shared_ptr<SystemThread> fHandle;
};

}  // namespace tlk
