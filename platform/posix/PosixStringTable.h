#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <deque>
#include <string>

#include "platform/Export.h"
#include "platform/Fork.h"
#include "platform/StringTable.h"

namespace tlk {

/// A string table that a program fills by itself: one list of texts for each module name, and one
/// for the main program.
class TLKC2_API PosixStringTable final : public StringTable {
 public:
  /// Gives a text to a number of a module, or another text to a number that has one (the former is
  /// not forgotten, so this is no place for what changes all the time). The first text
  /// brings the module into being. Letter case of the name does not matter; a null name stands for
  /// the main program. Returns the module's handle, which stays good as long as the table.
  ModuleHandle Register(const char* moduleName, std::uint32_t number, std::string text);

  [[nodiscard]] ModuleHandle FindModule(const char* name) const override;
  [[nodiscard]] int Load(ModuleHandle module, std::uint32_t number,
                         std::span<char> buffer) const override;

 private:
  /// A text as it was registered. It stays for good, because others may be reading it.
  struct Text {
    ModuleHandle module;
    std::uint32_t number;
    std::string text;
    const Text* older;  ///< The next in the same chain.
  };
  using Chain = std::atomic<const Text*>;

  [[nodiscard]] static std::size_t ChainOf(ModuleHandle module, std::uint32_t number);
  [[nodiscard]] const std::string* Find(const std::string& foldedName) const;

  std::array<Chain, 256> m_newest{};  // A look-up takes no lock: every record of a log makes one.
  mutable ForkMutex m_mutex;          // Guards the rest.
  std::deque<Text> m_texts;
  std::deque<std::string> m_modules;  // Their folded names, whose addresses are the handles.
};

/// The table of `SystemPlatform()`, for a program to register its texts in.
[[nodiscard]] TLKC2_API PosixStringTable& SystemStringTable();

}  // namespace tlk
