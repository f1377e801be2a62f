#include "platform/posix/CodePage.h"

#include <strings.h>

#include "platform/Utf8.h"
#include "platform/posix/ConvertedPage.h"
#include "platform/posix/Converter.h"
#include "platform/posix/PageBytes.h"
#include "platform/posix/TablePage.h"

namespace tlk {
namespace {

class Utf8Page final : public CodePage {
 public:
  void AppendWide(std::string_view narrow, std::u16string& wide) const override {
    AppendUtf16(narrow, wide);
  }
  void AppendNarrow(std::u16string_view wide, std::string& narrow) const override {
    AppendUtf8(wide, narrow);
  }
};

bool IsUtf8(const std::string& name) {
  return strcasecmp(name.c_str(), "UTF-8") == 0 || strcasecmp(name.c_str(), "UTF8") == 0;
}

}  // namespace

std::unique_ptr<const CodePage> ReadCodePage(const std::string& name) {
  if (IsUtf8(name)) return std::make_unique<Utf8Page>();
  Converter toWide(kUtf16, name);
  if (!toWide.IsKnown()) return nullptr;
  const auto bytes = ReadPageBytes(toWide);
  if (!bytes) return nullptr;
  auto table = std::make_unique<TablePage>(*bytes);
  if (!bytes->beginsLonger) return table;
  Converter toNarrow(name, kUtf16);
  if (!toNarrow.IsKnown()) return nullptr;
  if (table->ReadPairs(toWide, toNarrow)) return table;
  return std::make_unique<ConvertedPage>(name, *bytes);
}

}  // namespace tlk
