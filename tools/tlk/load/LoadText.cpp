#include "tools/tlk/load/LoadText.h"

#include <charconv>
#include <cstdio>

#include "transport/MessageTypes.h"

namespace tlk::load {
namespace {

constexpr std::string_view kBodyEnd = "</Load></Data></TLK_Message>";
constexpr std::string_view kStampPlace = "0000000";

// A mark is RUN-CLIENT-DUE, each of so many digits; as text of an element, no server writes it
// anew.
constexpr std::size_t kClientDigits = 7;
constexpr std::size_t kDueDigits = 13;

/// A number of exactly so many digits.
template <typename Number>
std::optional<Number> ReadDigits(std::string_view text, std::size_t digits) {
  Number number = 0;
  const auto field = text.substr(0, digits);
  const auto read = std::from_chars(field.data(), field.data() + field.size(), number);
  if (field.size() != digits || read.ptr != field.data() + digits) return std::nullopt;
  return number;
}

void Stamp(std::string& head, std::size_t length) {
  char digits[24];
  std::snprintf(digits, sizeof digits, "%07zu", length);
  head.replace(head.find(kStampPlace), kStampPlace.size(), digits, kStampPlace.size());
}

void WriteEnvelope(std::string& head, std::string_view type, std::int32_t id) {
  head = "<TLK_Message Length=\"0000000\" xmlns=\"\" Type=\"";
  head += type;
  head += "\"><From Id=\"";
  head += std::to_string(id);
  head += "\"/><To Id=\"0\"/>";
  static_assert(kServerId == 0);
}

/// The value of an attribute in the start tag that `tag` begins with; none when it has none.
std::optional<std::string_view> FindAttribute(std::string_view tag, std::string_view opening) {
  tag = tag.substr(0, tag.find('>'));
  const auto at = tag.find(opening);
  if (at == std::string_view::npos || at + opening.size() == tag.size()) return std::nullopt;
  const char quote = tag[at + opening.size()];
  const auto value = tag.substr(at + opening.size() + 1);
  return value.substr(0, value.find(quote));
}

}  // namespace

LoadText::LoadText(std::uint32_t run, std::size_t size) : m_size(size), m_fill(size, 'x') {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%08x-", run);
  m_run = digits;
  m_fill.replace(size - kBodyEnd.size(), kBodyEnd.size(), kBodyEnd);
}

void LoadText::WriteHead(std::int32_t id, const Mark& mark, std::string& head) const {
  WriteEnvelope(head, "Load", id);
  char numbers[48];
  const int count = std::snprintf(numbers, sizeof numbers, "%07u-%013llu-", mark.client,
                                  static_cast<unsigned long long>(mark.due));
  head += "<Data><Load>";
  head += m_run;
  head.append(numbers, static_cast<std::size_t>(count));
  Stamp(head, m_size);
}

std::string_view LoadText::Tail(std::size_t headSize) const {
  return std::string_view(m_fill).substr(headSize);
}

std::optional<Mark> LoadText::FindMark(std::string_view head) const {
  const auto at = head.find(m_run);
  if (at == std::string_view::npos) return std::nullopt;
  const auto text = head.substr(at + m_run.size());
  const auto client = ReadDigits<std::uint32_t>(text, kClientDigits);
  if (!client || text.size() == kClientDigits) return std::nullopt;
  const auto due = ReadDigits<std::uint64_t>(text.substr(kClientDigits + 1), kDueDigits);
  if (!due) return std::nullopt;
  return Mark{*client, *due};
}

std::string KeepAliveText(std::int32_t id) {
  std::string text;
  WriteEnvelope(text, kKeepAlive, id);
  text += "</TLK_Message>";
  Stamp(text, text.size());
  return text;
}

bool IsKeepAliveAnswer(std::string_view head) {
  return FindAttribute(head, " Type=") == std::string_view(kKeepAliveResponse);
}

std::optional<std::int32_t> ReadReceiver(std::string_view head) {
  const auto to = head.find("<To ");
  if (to == std::string_view::npos) return std::nullopt;
  const auto id = FindAttribute(head.substr(to), " Id=");
  if (!id) return std::nullopt;
  std::int32_t number = 0;
  std::from_chars(id->data(), id->data() + id->size(), number);
  return number;
}

}  // namespace tlk::load
