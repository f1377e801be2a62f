#include "tools/tlk/log/RecordJson.h"

#include <algorithm>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "tools/tlk/log/RecordText.h"

namespace tlk::log {
namespace {

void AppendEscape(char16_t character, std::string& json) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  json += "\\u";
  for (unsigned shift = 16; shift != 0;) {
    shift -= 4;
    json += kHexDigits[(static_cast<unsigned>(character) >> shift) & 0xFU];
  }
}

void AppendCharacter(char16_t character, std::string& json) {
  if (character == u'"' || character == u'\\') {
    json += '\\';
    json += static_cast<char>(character);
  } else if (character == u'\n') {
    json += "\\n";
  } else if (character == u'\t') {
    json += "\\t";
  } else if (character < 0x20 || character > 0x7E) {
    AppendEscape(character, json);
  } else {
    json += static_cast<char>(character);
  }
}

bool NeedsEscape(char character) {
  return character == '"' || character == '\\' || character == '\t';
}

/// Plain text goes in runs between what needs a backslash.
void AppendPlain(std::string_view text, std::string& json) {
  while (!text.empty()) {
    const auto* const special = std::ranges::find_if(text, NeedsEscape);
    json.append(text.begin(), special);
    text.remove_prefix(static_cast<std::size_t>(special - text.begin()));
    if (text.empty()) return;
    AppendCharacter(static_cast<unsigned char>(text.front()), json);
    text.remove_prefix(1);
  }
}

void AppendLine(std::string_view line, std::string& json) {
  if (IsPlain(line)) {
    AppendPlain(line, json);
    return;
  }
  std::u16string wide;
  SystemPlatform().text.Widen(line, wide);
  for (const char16_t character : wide) AppendCharacter(character, json);
}

/// A text whose lines end as the log's reader would end them, be the log of whichever system.
void AppendString(std::string_view text, std::string& json) {
  json += '"';
  while (!text.empty()) {
    const bool hasMore = text.find('\n') != text.npos;
    AppendLine(TakeLine(text), json);
    if (hasMore) json += "\\n";
  }
  json += '"';
}

void AppendTime(std::string_view stamp, std::string& json) {
  json += "\"time\":\"";
  json += stamp.substr(6, 4);
  json += '-';
  json += stamp.substr(0, 2);
  json += '-';
  json += stamp.substr(3, 2);
  json += 'T';
  json += stamp.substr(11);
  json += "\",";
}

void AppendHead(const RecordHead& head, std::string& json) {
  AppendTime(head.stamp, json);
  json += "\"thread\":" + std::to_string(head.thread) + ',';
  if (head.mark == '\0') return;
  json += "\"mark\":\"";
  json += head.mark;
  json += "\",";
}

void AppendFlag(std::string_view name, bool isSet, std::string& json) {
  if (!isSet) return;
  json += ",\"";
  json += name;
  json += "\":true";
}

}  // namespace

void AppendJson(const Record& record, std::string_view explanation, std::string& json) {
  json += '{';
  if (record.hasHead) AppendHead(record.head, json);
  json += record.IsError() ? "\"error\":true,\"message\":" : "\"error\":false,\"message\":";
  AppendString(record.message, json);
  if (record.hasSource) {
    json += ",\"source\":";
    AppendString(record.source.name, json);
    json += ",\"line\":" + std::to_string(record.source.line);
  }
  json += record.hasForgedLines ? ",\"forged\":true" : ",\"forged\":false";
  AppendFlag("suspect", record.isSuspect, json);
  AppendFlag("cut", record.isCut, json);
  if (!explanation.empty()) {
    json += ",\"explanation\":";
    AppendString(explanation, json);
  }
  json += "}\n";
}

}  // namespace tlk::log
