#pragma once

#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

#include "platform/StringTable.h"

namespace tlk {

/// A string table that a program fills by itself: one list of texts for each module name, and one
/// for the main program.
class PosixStringTable final : public StringTable {
 public:
  /// Gives a text to a number of a module, or another text to a number that has one. The first text
  /// brings the module into being. Letter case of the name does not matter; a null name stands for
  /// the main program. Returns the module's handle, which stays good as long as the table.
  ModuleHandle Register(const char* moduleName, std::uint32_t number, std::string text);

  [[nodiscard]] ModuleHandle FindModule(const char* name) const override;
  [[nodiscard]] int Load(ModuleHandle module, std::uint32_t number,
                         std::span<char> buffer) const override;

 private:
  struct Module {
    std::string foldedName;
    std::map<std::uint32_t, std::string> texts;
  };

  [[nodiscard]] Module* Find(const std::string& foldedName) const;
  [[nodiscard]] const Module* FromHandle(ModuleHandle handle) const;

  mutable std::shared_mutex m_mutex;
  Module m_mainProgram;
  std::vector<std::unique_ptr<Module>> m_modules;
};

/// The table of `SystemPlatform()`, for a program to register its texts in.
[[nodiscard]] PosixStringTable& SystemStringTable();

}  // namespace tlk
