#pragma once

#include "platform/Fork.h"
#include "platform/posix/CodePage.h"
#include "platform/posix/Converter.h"
#include "platform/posix/PageBytes.h"

namespace tlk {

/// A code page with longer characters than tables are good for: iconv converts each text. It has
/// one converter each way, had from the start, so that none can be missing later; callers take
/// turns.
class ConvertedPage final : public CodePage {
 public:
  /// `name` is that of a page which iconv knows. Throws `std::bad_alloc`.
  ConvertedPage(const std::string& name, const PageBytes& bytes);

  void AppendWide(std::string_view narrow, std::u16string& wide) const override;
  void AppendNarrow(std::u16string_view wide, std::string& narrow) const override;

 private:
  const PageBytes m_bytes;
  mutable ForkMutex m_mutex;
  mutable Converter m_toWide;
  mutable Converter m_toNarrow;
};

}  // namespace tlk
