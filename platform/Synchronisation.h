#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace tlk {

/// Limit of a wait that may last for ever, in milliseconds.
inline constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;

/// How a wait ended. The numbers are the system's own; they appear in results.
enum class WaitResult : std::uint32_t {
  kSignalled = 0,        ///< The object, or the first of two, was signalled or acquired.
  kSecondSignalled = 1,  ///< The second of two was signalled.
  kAbandoned = 0x80,     ///< The mutex is acquired; its former owner ended without releasing it.
  kTimedOut = 0x102,
  kFailed = 0xFFFFFFFF,  ///< `Synchronisation::LastError` tells why.
};

/// Something that the system lets a thread wait for.
class Waitable {
 public:
  virtual ~Waitable() = default;

  [[nodiscard]] virtual WaitResult Wait(std::uint32_t milliseconds) = 0;
};

/// A mutex with an owner. The owner may take it again and then releases it as often. Destroying the
/// object closes it; a named mutex lives on while another process or object has it open.
class SystemMutex : public Waitable {
 public:
  /// Gives one hold back; false, with the last error set, when the calling thread is not the owner.
  [[nodiscard]] virtual bool Release() = 0;
};

/// An event. An auto-reset event lets one waiter go and is then no longer signalled; a manual-reset
/// event stays signalled until it is reset. Setting an event makes everything that the setter wrote
/// before visible to the waiter that it lets go.
class SystemEvent : public Waitable {
 public:
  virtual void Set() = 0;
  virtual void Reset() = 0;
};

enum class ResetMode { kAutomatic, kManual };

/// A thread; waiting for it is waiting for its end. It is created suspended. Destroying the object
/// lets a thread that was resumed run on, and ends one that never was without running its work.
class SystemThread : public Waitable {
 public:
  [[nodiscard]] virtual std::uint32_t Id() const = 0;
  virtual void Resume() = 0;

  /// From here on the end of the object leaves the system's own handle of the thread open, where
  /// the system has such handles.
  virtual void LeaveOpen() = 0;
};

/// A place for one pointer that each thread has for itself, empty at first. At a thread's end its
/// pointer is just forgotten.
class ThreadSlot {
 public:
  virtual ~ThreadSlot() = default;

  [[nodiscard]] virtual void* Get() const noexcept = 0;
  virtual void Set(void* pointer) noexcept = 0;
};

/// Makes the system's mutexes, events and threads. Safe to call from any thread. A maker returns
/// null when the system refuses; `LastError` then holds the system's number.
class Synchronisation {
 public:
  virtual ~Synchronisation() = default;

  /// A mutex without a name, free at first.
  [[nodiscard]] virtual std::unique_ptr<SystemMutex> NewMutex() = 0;

  /// The existing mutex of that name; null when there is none.
  [[nodiscard]] virtual std::unique_ptr<SystemMutex> OpenNamedMutex(const char* name) = 0;

  /// A mutex of that name, shared by every process that uses the name, free at first. When somebody
  /// has made it meanwhile, theirs.
  [[nodiscard]] virtual std::unique_ptr<SystemMutex> NewNamedMutex(const char* name) = 0;

  [[nodiscard]] virtual std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool signalled) = 0;

  /// Waits until one of two events is signalled; the first is looked at first. Both must be this
  /// object's.
  [[nodiscard]] virtual WaitResult WaitEither(SystemEvent& first, SystemEvent& second,
                                              std::uint32_t milliseconds) = 0;

  /// A suspended thread that will run `work`, which must not throw.
  [[nodiscard]] virtual std::unique_ptr<SystemThread> NewThread(std::function<void()> work) = 0;

  /// The calling thread, which is running already. The object closes its handle at its end, unless
  /// told otherwise.
  [[nodiscard]] virtual std::unique_ptr<SystemThread> OpenCurrentThread() = 0;

  [[nodiscard]] virtual std::unique_ptr<ThreadSlot> NewThreadSlot() = 0;

  [[nodiscard]] virtual std::uint32_t CurrentThreadId() const = 0;

  /// The number of the last failure on this thread.
  [[nodiscard]] virtual int LastError() const = 0;
};

}  // namespace tlk
