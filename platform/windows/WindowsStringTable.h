#pragma once

#include "platform/StringTable.h"

namespace tlk {

/// The string resources of the process's modules. A handle is the system's own.
class WindowsStringTable final : public StringTable {
 public:
  [[nodiscard]] ModuleHandle FindModule(const char* name) const override;
  [[nodiscard]] int Load(ModuleHandle module, std::uint32_t number,
                         std::span<char> buffer) const override;
};

}  // namespace tlk
