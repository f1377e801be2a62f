#include "tools/tlk/serve/Conversation.h"

#include <charconv>
#include <fstream>
#include <istream>
#include <string_view>
#include <utility>

#include "tools/tlk/InputFile.h"

namespace tlk::serve {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kFill = "$FILL:";

/// No message can hold more, so a longer fill is a mistake in the file.
constexpr std::size_t kMaxFill = 9999999;

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

template <typename Number>
bool ReadNumber(std::string_view text, Number& number) {
  const auto* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end && number >= 0;
}

/// Writes every fill of a line out; false when one has no sensible number.
bool ExpandFills(std::string& line) {
  for (auto at = line.find(kFill); at != std::string::npos; at = line.find(kFill, at)) {
    const auto* digits = line.data() + at + kFill.size();
    std::size_t count = 0;
    const auto read = std::from_chars(digits, line.data() + line.size(), count);
    if (read.ec != std::errc() || count > kMaxFill) return false;
    line.replace(at, static_cast<std::size_t>(read.ptr - line.data()) - at, count, 'x');
  }
  return true;
}

struct Section {
  std::string_view name;
  std::vector<ConversationLine> Conversation::*lines;
};

constexpr Section kSections[] = {
    {"server:", &Conversation::server},
    {"host:", &Conversation::host},
    {"output:", &Conversation::output},
    {"log:", &Conversation::log},
};

class ConversationReader {
 public:
  /// What is wrong with the line; empty when nothing is.
  std::string Take(int number, std::string line) {
    const bool indented = kBlanks.find(line.front()) != std::string_view::npos;
    if (!ExpandFills(line)) return "a fill without a sensible number";
    const auto text = Trim(line);
    if (indented && m_section == nullptr) return "an indented line before the first section";
    if (indented) {
      (m_conversation.*m_section->lines).push_back({number, std::string(text)});
      return {};
    }
    return BeginSection(text) || TakeSetting(text) ? "" : "neither a section nor a setting";
  }

  Conversation& Result() { return m_conversation; }

 private:
  bool BeginSection(std::string_view name) {
    for (const auto& section : kSections) {
      if (section.name == name) {
        m_section = &section;
        return true;
      }
    }
    return false;
  }

  bool TakeSetting(std::string_view text) {
    const auto blank = text.find(' ');
    if (m_section != nullptr || blank == std::string_view::npos) return false;
    const auto name = text.substr(0, blank);
    const auto value = Trim(text.substr(blank));
    if (name == "code-page") {
      m_conversation.codePage = value;
      return true;
    }
    if (name == "host-options") {
      m_conversation.hostOptions = value;
      return true;
    }
    int number = 0;
    if (!ReadNumber(value, number)) return false;
    if (name == "limit") {
      m_conversation.limit = std::chrono::seconds(number);
      return number > 0;
    }
    m_conversation.status = number;
    return name == "status";
  }

  Conversation m_conversation;
  const Section* m_section = nullptr;
};

bool SaysNothing(std::string_view line) {
  const auto text = Trim(line);
  return text.empty() || text.front() == '#';
}

}  // namespace

std::optional<Conversation> ReadConversation(std::istream& text, std::string& error) {
  ConversationReader reader;
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    const auto fault = SaysNothing(line) ? std::string() : reader.Take(number, line);
    if (!fault.empty()) {
      error = "line " + std::to_string(number) + ": " + fault;
      return std::nullopt;
    }
  }
  return std::move(reader.Result());
}

std::optional<Conversation> ReadConversationFile(const std::string& path, std::string& error) {
  std::ifstream file;
  const std::string failure = OpenToRead(path, file);
  if (!failure.empty()) {
    error = "cannot read " + path + ": " + failure;
    return std::nullopt;
  }
  auto conversation = ReadConversation(file, error);
  if (!conversation) error.insert(0, path + ": ");
  return conversation;
}

}  // namespace tlk::serve
