#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "platform/AnsiText.h"
#include "platform/Fork.h"

namespace tlk {

class CodePage;

/// Conversion with one of the code pages that iconv knows. It is read at the start; if iconv has no
/// converter to give then, the first texts that need it try again, and until one gets it, the page
/// does not count as one of single bytes.
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

  [[nodiscard]] bool IsSingleByte() const override;

 private:
  [[nodiscard]] const CodePage& Page() const;

  const std::string m_name;
  mutable ForkMutex m_mutex;
  mutable std::unique_ptr<const CodePage> m_owned;
  mutable std::atomic<const CodePage*> m_page = nullptr;
};

}  // namespace tlk
