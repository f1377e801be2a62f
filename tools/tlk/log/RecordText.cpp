#include "tools/tlk/log/RecordText.h"

#include <algorithm>

#include "tools/tlk/Printable.h"

namespace tlk::log {
namespace {

// What the log writes between two records begins so.
constexpr std::string_view kQueueLine = "-----";

void AppendShown(std::string_view text, std::string& shown) {
  if (IsPlain(text)) {
    shown += text;
  } else {
    shown += Printable(text, Layout::kManyLines);
  }
}

}  // namespace

// Without a way out in the middle, so that the compiler looks at many characters at a time.
bool IsPlain(std::string_view text) {
  unsigned others = 0;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    others |= static_cast<unsigned>(static_cast<unsigned char>(byte - 0x20) > 0x5E) &
              static_cast<unsigned>(byte != '\t');
  }
  return others == 0;
}

void AppendText(const Record& record, std::string& shown) {
  const auto end =
      static_cast<std::size_t>(record.message.data() + record.message.size() - record.text.data());
  std::string_view rest = record.text.substr(0, end);
  if (!record.hasHead && !record.text.starts_with(kQueueLine)) shown += "? ";
  AppendShown(TakeLine(rest), shown);
  while (!rest.empty()) {
    const std::string_view line = TakeLine(rest);
    RecordHead head;
    shown += ReadHead(line, head) ? "\n! " : "\n  ";
    AppendShown(line, shown);
  }
  if (record.hasSource) {
    const std::size_t line = record.text.rfind('\n') + 1;  // 0 when there is one line.
    AppendShown(record.text.substr(line + record.source.begin), shown);
  }
  shown += '\n';
}

void AppendRemarks(const Record& record, std::string& shown) {
  if (record.hasForgedLines) {
    AppendRemark("forged: each line with ! came in the text of a peer and is no record", shown);
  }
  if (record.isSuspect && record.hasHead) {
    AppendRemark(
        "suspect: earlier than the record before it, which holds a text of a peer and may have "
        "brought this along",
        shown);
  }
  if (record.isSuspect && !record.hasHead) {
    AppendRemark(
        "suspect: the end of a record that has ended before; a text of a peer may have brought "
        "the records in between along",
        shown);
  }
  if (record.isCut) AppendRemark("cut: this line is longer than any record", shown);
}

void AppendRemark(std::string_view remark, std::string& shown) {
  shown += "= ";
  shown += remark;
  shown += '\n';
}

}  // namespace tlk::log
