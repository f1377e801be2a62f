#pragma once

#include "platform/AnsiText.h"

namespace tlk {

/// Conversion with the process's ANSI code page, as the system does it, except where the system
/// would replace a broken character by one of the code page's choosing. Keeps nothing.
class WindowsAnsiText final : public AnsiText {
 public:
  void Widen(std::string_view narrow, std::u16string& wide) const override;

  /// A character outside the basic plane is two units of UTF-16, and counts as two characters where
  /// the code page lacks it.
  void Narrow(std::u16string_view wide, std::string& narrow) const override;

  [[nodiscard]] bool IsSingleByte() const override;
};

}  // namespace tlk
