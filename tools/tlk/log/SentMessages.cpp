#include "tools/tlk/log/SentMessages.h"

#include <algorithm>

namespace tlk::log {
namespace {

constexpr std::string_view kOpening = "<TLK_Message ";
constexpr std::string_view kClosing = "</TLK_Message>";
constexpr std::string_view kType = " Type=\"";
constexpr std::string_view kBlanks = " \t\r\n";

/// An attribute as a host gave it.
std::string Unescape(std::string_view value) {
  constexpr struct {
    std::string_view name;
    char character;
  } kEntities[] = {{"&amp;", '&'},   {"&lt;", '<'},   {"&gt;", '>'},   {"&quot;", '"'},
                   {"&apos;", '\''}, {"&#10;", '\n'}, {"&#xA;", '\n'}, {"&#13;", '\r'},
                   {"&#xD;", '\r'},  {"&#9;", '\t'},  {"&#x9;", '\t'}};
  std::string text;
  while (!value.empty()) {
    const auto* const entity =
        std::find_if(std::begin(kEntities), std::end(kEntities),
                     [&](const auto& row) { return value.starts_with(row.name); });
    const bool isEntity = entity != std::end(kEntities);
    text += isEntity ? entity->character : value.front();
    value.remove_prefix(isEntity ? entity->name.size() : 1);
  }
  return text;
}

/// The type in an opening tag, which stands before the tag's end.
bool ReadType(std::string_view message, std::string& type) {
  const std::string_view tag = message.substr(0, message.find('>'));
  const std::size_t begin = tag.find(kType);
  if (begin == tag.npos) return false;
  const std::string_view value = message.substr(begin + kType.size());
  const std::size_t end = value.find('"');
  if (end == value.npos) return false;
  type = Unescape(value.substr(0, end));
  return true;
}

/// What follows a message, beginning with the next one; empty when none follows. A message in the
/// body of another has no such place before it.
std::string_view NextMessage(std::string_view message) {
  for (;;) {
    const std::size_t closing = message.find(kClosing);
    if (closing == message.npos) return {};
    message.remove_prefix(closing + kClosing.size());
    const std::string_view next =
        message.substr(std::min(message.find_first_not_of(kBlanks), message.size()));
    if (next.starts_with(kOpening)) return next;
  }
}

}  // namespace

void VisitSentTypes(std::string_view messages, const std::function<void(std::string)>& take) {
  while (messages.starts_with(kOpening)) {
    std::string type;
    if (ReadType(messages, type)) take(std::move(type));
    messages = NextMessage(messages);
  }
}

bool IsLeftOut(std::string_view text) {
  constexpr std::string_view kEnd = " bytes left out)";
  if (!text.starts_with('(') || !text.ends_with(kEnd)) return false;
  const std::string_view digits = text.substr(1, text.size() - 1 - kEnd.size());
  return !digits.empty() && digits.find_first_not_of("0123456789") == digits.npos;
}

}  // namespace tlk::log
