#pragma once

#include <vector>

#include "platform/Export.h"
#include "thread/ZMutexBase.h"

namespace tlk {

/// Many locks as one. It owns none of them, and they outlive it. Composites of the same locks name
/// them in the same order, or they wait for each other for ever.
class TLKC2_API ZMutexComposite final : public ZMutexBase {
 public:
  /// `name` is for diagnostics; it stays the caller's and outlives the object.
  ZMutexComposite(const char* name, std::vector<ZMutexBase*> locks);

  /// Takes the locks in order, all within the one limit. When one cannot be had, those taken before
  /// are given back in reverse and its result, or what it throws, is passed on. Without locks there
  /// is nothing to fail.
  [[nodiscard]] LockResult Acquire(std::int64_t limit) override;
  [[nodiscard]] LockResult Acquire() override { return ZMutexComposite::Acquire(kForever); }

  /// Gives the locks back in reverse.
  void Release() noexcept override;

  /// What the last of the locks says; one without locks is held by nobody.
  [[nodiscard]] bool IsHeld() const override;

 private:
  const std::vector<ZMutexBase*> fLocks;
};

}  // namespace tlk
