#include "tools/tlk/serve/ScriptText.h"

#include <fstream>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/Utf8.h"
#include "tools/tlk/InputFile.h"
#include "tools/tlk/Words.h"

namespace tlk::serve {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Marks[] = {"\xFF\xFE", "\xFE\xFF"};

/// No file of this kind is longer for a good reason: `$FILL` writes long texts short.
constexpr std::size_t kMostBytes = 16U << 20U;

std::string ReadBounded(const std::string& path) {
  std::ifstream file;
  std::string failure = OpenToRead(path, file);
  std::string text;
  while (failure.empty() && text.size() <= kMostBytes && ReadPiece(file, text)) {
  }
  if (failure.empty() && file.bad()) failure = SystemFailure();
  if (!failure.empty()) throw ScriptError(failure);
  if (text.size() > kMostBytes) {
    throw ScriptError("it is longer than " + std::to_string(kMostBytes) + " bytes");
  }
  return text;
}

}  // namespace

ScriptError::ScriptError(int line, std::size_t column, const std::string& what)
    : std::runtime_error("line " + std::to_string(line) + ", column " + std::to_string(column) +
                         ": " + what) {}

std::vector<ScriptLine> SplitLines(std::string_view text) {
  std::vector<ScriptLine> lines;
  for (int number = 1; !text.empty(); ++number) {
    const auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const auto first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos || line[first] == '#') continue;
    const auto last = line.find_last_not_of(kBlanks);
    lines.push_back({number, first + 1, std::string(line.substr(first, last - first + 1))});
  }
  return lines;
}

std::string ReadScriptFile(const std::string& path) {
  auto text = ReadBounded(path);
  for (const auto mark : kUtf16Marks) {
    if (text.starts_with(mark)) throw ScriptError("it is UTF-16; save it as UTF-8 or plain text");
  }
  if (text.starts_with(kUtf8Mark)) {
    const auto wide = ToUtf16(std::string_view(text).substr(kUtf8Mark.size()));
    SystemPlatform().text.Narrow(wide, text);
  }
  return text;
}

LineWords::LineWords(const ScriptLine& line) : m_line(line) {
  std::string error;
  WordPlaces places;
  const bool isSplit = SplitWords(line.text, m_words, error, places);
  m_begins = std::move(places.begins);
  if (!isSplit) {
    throw ScriptError(line.number, line.column + places.fault,
                      error +
                          R"(: expected words, or text in quotes, in which \" \\ \n \r \t and )" +
                          R"(\xHH are escapes)");
  }
}

void LineWords::Fail(std::size_t word, const std::string& what) const {
  const auto offset = word < m_begins.size() ? m_begins[word] : m_line.text.size();
  throw ScriptError(m_line.number, m_line.column + offset, what);
}

}  // namespace tlk::serve
