#pragma once

#include <cstdint>
#include <vector>

#include "platform/posix/CodePage.h"
#include "platform/posix/PageBytes.h"

namespace tlk {

class Converter;

/// A code page whose characters are one or two bytes long, in tables: once they are made, neither a
/// converter nor anything else is needed.
class TablePage final : public CodePage {
 public:
  /// A page of single bytes, each of which is given back as it came.
  explicit TablePage(const PageBytes& bytes);

  /// Makes it a page with pairs of bytes. False for a page with longer characters, or with some
  /// that are not one unit of UTF-16; it is of no use then.
  [[nodiscard]] bool ReadPairs(Converter& toWide, Converter& toNarrow);

  void AppendWide(std::string_view narrow, std::u16string& wide) const override;
  void AppendNarrow(std::u16string_view wide, std::string& narrow) const override;
  [[nodiscard]] bool IsSingleByte() const override { return m_wideOfPair.empty(); }

 private:
  [[nodiscard]] bool ReadWidePairs(Converter& toWide);
  [[nodiscard]] bool ReadNarrow(Converter& toNarrow);

  const PageBytes m_bytes;
  std::vector<char16_t> m_wideOfPair;     // By both bytes, from 0x8000 on; 0 for none.
  std::vector<std::uint16_t> m_narrowOf;  // By unit; one byte, or two as one number.
};

}  // namespace tlk
