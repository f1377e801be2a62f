#include "tools/tlk/serve/Conversation.h"

#include <array>
#include <charconv>
#include <limits>

#include "tools/tlk/Words.h"
#include "transport/Framing.h"

namespace tlk::serve {
namespace {

constexpr std::string_view kFill = "$FILL:";
constexpr std::array<std::string_view, 4> kSections = {"server:", "host:", "output:", "log:"};
constexpr const char* kExpected =
    "expected a setting (limit, status, code-page, host-options) or a section (server:, host:, "
    "output:, log:)";

struct Setting {
  std::string_view name;
  bool isNumber;
  int least;
};

constexpr Setting kSettings[] = {
    {"limit", true, 1}, {"status", true, 0}, {"code-page", false, 0}, {"host-options", false, 0}};

/// The value of a setting that is a number.
int ReadValue(const ScriptLine& line, const Setting& setting, std::size_t begin) {
  const auto value = std::string_view(line.text).substr(begin);
  int number = 0;
  const auto* const end = value.data() + value.size();
  const auto read = std::from_chars(value.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || number < setting.least) {
    throw ScriptError(line.number, line.column + begin,
                      std::string(setting.name) + " must be a whole number from " +
                          std::to_string(setting.least) + " to " +
                          std::to_string(std::numeric_limits<int>::max()) + ", not " +
                          Quote(value));
  }
  return number;
}

class ConversationReader {
 public:
  void Take(const ScriptLine& line) {
    // Only a section's lines are long, and only those of the server are kept.
    static_cast<void>(WithFills(line));
    const bool isIndented = line.column > 1;
    if (isIndented && m_section.empty()) {
      throw ScriptError(line.number, line.column,
                        std::string(kExpected) + "; lines of a section are indented, others not");
    }
    if (!isIndented) {
      TakeUnindented(line);
    } else if (m_section == kSections[0]) {
      result.server.push_back(line);
    }
  }

  Conversation result;

 private:
  void TakeUnindented(const ScriptLine& line) {
    const auto* const section = std::find(kSections.begin(), kSections.end(), line.text);
    if (section != kSections.end()) {
      m_section = *section;
    } else {
      TakeSetting(line);
    }
  }

  void TakeSetting(const ScriptLine& line) {
    const auto nameEnd = std::min(line.text.find_first_of(" \t"), line.text.size());
    const auto name = std::string_view(line.text).substr(0, nameEnd);
    const auto* const setting = std::find_if(std::begin(kSettings), std::end(kSettings),
                                             [&](const Setting& s) { return s.name == name; });
    if (setting == std::end(kSettings)) {
      throw ScriptError(line.number, line.column, kExpected + (", not " + Quote(name)));
    }
    if (!m_section.empty()) {
      throw ScriptError(line.number, line.column,
                        std::string(name) + " is a setting: expected before the first section");
    }
    const auto begin = std::min(line.text.find_first_not_of(" \t", nameEnd), line.text.size());
    if (begin == line.text.size()) {
      throw ScriptError(line.number, line.column + begin,
                        "expected a value behind " + std::string(name));
    }
    const int number = setting->isNumber ? ReadValue(line, *setting, begin) : 0;
    if (name == "limit") result.limit = std::chrono::seconds(number);
  }

  std::string_view m_section;
};

}  // namespace

Conversation ReadConversation(std::string_view text) {
  ConversationReader reader;
  for (const auto& line : SplitLines(text)) {
    reader.Take(line);
  }
  return std::move(reader.result);
}

ScriptLine WithFills(const ScriptLine& line) {
  auto filled = line;
  auto& text = filled.text;
  std::size_t left = kMaxMessageLength;
  std::size_t grown = 0;
  for (auto at = text.find(kFill); at != std::string::npos; at = text.find(kFill, at)) {
    const auto* const digits = text.data() + at + kFill.size();
    std::size_t count = 0;
    const auto read = std::from_chars(digits, text.data() + text.size(), count);
    if (read.ec != std::errc() || count > left) {
      throw ScriptError(line.number, line.column + at - grown,
                        "expected $FILL:N, where all N of a line are at most " +
                            std::to_string(kMaxMessageLength));
    }
    const auto size = static_cast<std::size_t>(read.ptr - text.data()) - at;
    text.replace(at, size, count, 'x');
    at += count;
    left -= count;
    grown += count - size;
  }
  return filled;
}

}  // namespace tlk::serve
