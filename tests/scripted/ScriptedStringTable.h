#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "platform/StringTable.h"

namespace tlk::test {

/// A string table with the texts that a test has put in. Fill it before other threads use it.
class ScriptedStringTable final : public StringTable {
 public:
  /// The texts by module handle and number.
  std::map<std::pair<ModuleHandle, std::uint32_t>, std::string> texts;

  /// What `FindModule` finds, by the name "Tlkc2".
  [[nodiscard]] ModuleHandle TheModule() const { return this; }

  [[nodiscard]] ModuleHandle FindModule(const char* name) const override {
    return name != nullptr && std::string(name) == "Tlkc2" ? TheModule() : nullptr;
  }

  [[nodiscard]] int Load(ModuleHandle module, std::uint32_t number,
                         std::span<char> buffer) const override {
    const auto found = texts.find({module, number});
    if (found == texts.end() || buffer.empty()) return 0;
    const size_t length = found->second.copy(buffer.data(), buffer.size() - 1);
    buffer[length] = '\0';
    return static_cast<int>(length);
  }
};

}  // namespace tlk::test
