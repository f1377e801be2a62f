#pragma once

#include <cstdint>
#include <span>

#include "platform/Export.h"

namespace tlk {

/// A module of the process; null stands for the main program.
using ModuleHandle = const void*;

/// Message numbers and their format texts, module by module. Safe to call from any thread.
class TLKC2_API StringTable {
 public:
  virtual ~StringTable() = default;

  /// The module with that name, letter case ignored; null when none is loaded.
  [[nodiscard]] virtual ModuleHandle FindModule(const char* name) const = 0;

  /// Copies a module's text for a number into `buffer`, cut to fit and ended by a zero byte;
  /// returns its length, 0 when the module has no such text.
  [[nodiscard]] virtual int Load(ModuleHandle module, std::uint32_t number,
                                 std::span<char> buffer) const = 0;
};

}  // namespace tlk
