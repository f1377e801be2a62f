#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace tlk {

/// A code page, as `AnsiText` has it. Safe to use from any thread.
class CodePage {
 public:
  virtual ~CodePage() = default;

  /// Appends what `narrow` is in UTF-16.
  virtual void AppendWide(std::string_view narrow, std::u16string& wide) const = 0;

  /// Appends what `wide` is in the code page.
  virtual void AppendNarrow(std::u16string_view wide, std::string& narrow) const = 0;

  [[nodiscard]] virtual bool IsSingleByte() const { return false; }
};

/// The code page that iconv knows by this name; null when it knows none, or when the bytes below
/// 0x80 are not ASCII in it. Throws `std::bad_alloc` when memory or a converter is not to be had.
[[nodiscard]] std::unique_ptr<const CodePage> ReadCodePage(const std::string& name);

}  // namespace tlk
