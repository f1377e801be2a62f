#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "thread/LockResult.h"

namespace tlk {

/// A lock that one thread, or one group of threads, holds. A holder may take it again and then
/// releases it as often.
class TLKC2_API ZMutexBase {
 public:
  ZMutexBase(const ZMutexBase&) = delete;
  ZMutexBase& operator=(const ZMutexBase&) = delete;

  /// Takes the lock within a limit in microseconds.
  [[nodiscard]] virtual LockResult Acquire(std::int64_t limit) = 0;

  /// Takes the lock, however long that lasts.
  [[nodiscard]] virtual LockResult Acquire() = 0;

  /// Gives one hold back. There must be one.
  virtual void Release() noexcept = 0;

  /// Whether the calling thread holds the lock.
  [[nodiscard]] virtual bool IsHeld() const = 0;

  /// The name that it was made with.
  [[nodiscard]] const char* Name() const { return fName; }

 protected:
  /// `name` is for diagnostics; it stays the caller's and outlives the object.
  explicit ZMutexBase(const char* name) : fName(name) {}

  /// A lock belongs to whoever made it as what it is.
  ~ZMutexBase() = default;

 private:
  const char* const fName;
};

}  // namespace tlk
