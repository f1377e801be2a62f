#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Export.h"

namespace tlk {

/// A lock of one word, for critical sections of a few instructions. It knows no owner and cannot be
/// taken twice. It starts free, without any code being run for it.
class TLKC2_API SpinWord {
 public:
  constexpr SpinWord() noexcept = default;
  SpinWord(const SpinWord&) = delete;
  SpinWord& operator=(const SpinWord&) = delete;

  /// Takes the word; while somebody else has it, other threads run first.
  void Acquire();

  /// Gives the word back. That nobody had it is reported and ends the process.
  void Release();

 private:
  std::atomic<std::uint32_t> fWord{0};
};
static_assert(sizeof(SpinWord) == sizeof(std::uint32_t));

/// Has a spin word for a scope.
class SpinLock {
 public:
  /// Takes the word, which outlives this object.
  explicit SpinLock(SpinWord& word) : fWord(word) { fWord.Acquire(); }
  ~SpinLock() { fWord.Release(); }
  SpinLock(const SpinLock&) = delete;
  SpinLock& operator=(const SpinLock&) = delete;

 private:
  SpinWord& fWord;
};

}  // namespace tlk
