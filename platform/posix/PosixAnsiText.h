#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AnsiText.h"

namespace tlk {

class ConverterPool;

/// Conversion with one of the code pages that iconv knows. Pages of single bytes are read from it
/// once, into a table; a page with characters of several bytes is converted by it, call by call.
class PosixAnsiText final : public AnsiText {
 public:
  static constexpr const char* kDefaultCodePage = "CP1252";

  /// `codePage` is a name as iconv knows it. One that it does not know, or in which the bytes below
  /// 0x80 are not ASCII, is reported on standard error, and Windows-1252 is used.
  explicit PosixAnsiText(const std::string& codePage = kDefaultCodePage);
  ~PosixAnsiText() override;

  PosixAnsiText(const PosixAnsiText&) = delete;
  PosixAnsiText& operator=(const PosixAnsiText&) = delete;

  void Widen(std::string_view narrow, std::u16string& wide) const override;

  /// A character outside the basic plane is two units of UTF-16, and counts as two characters where
  /// the code page lacks it.
  void Narrow(std::u16string_view wide, std::string& narrow) const override;

  [[nodiscard]] bool IsSingleByte() const override { return m_isSingleByte; }

 private:
  struct HighCharacter {
    char16_t wide;
    char narrow;
  };

  [[nodiscard]] bool Use(const std::string& codePage);
  void SortHighCharacters();
  [[nodiscard]] char NarrowOne(char16_t wide) const;
  void WidenByTable(std::string_view narrow, char16_t* wide) const;
  void NarrowByTable(std::u16string_view wide, char* narrow) const;

  bool m_isSingleByte = true;
  std::array<char16_t, 256> m_wideOf{};
  std::vector<HighCharacter> m_highCharacters;
  std::unique_ptr<ConverterPool> m_toWide;
  std::unique_ptr<ConverterPool> m_toNarrow;
};

}  // namespace tlk
