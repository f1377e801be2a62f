#include "tools/tlk/log/Explanations.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>

namespace tlk::log {
namespace {

struct Explanation {
  std::string_view source;
  std::int32_t line;
  std::string_view text;
};

struct ErrorMeaning {
  std::int32_t number;
  std::string_view text;
};

struct QueueLine {
  std::string_view line;
  std::string_view text;
};

// kExplanations, kErrorMeanings and kQueueLines.
#include "ExplanationTable.inc"

std::string_view Find(const RecordSource& source) {
  const auto* const found = std::find_if(
      std::begin(kExplanations), std::end(kExplanations),
      [&](const auto& row) { return row.line == source.line && row.source == source.name; });
  return found == std::end(kExplanations) ? std::string_view() : found->text;
}

/// The number that a message ends with.
std::optional<std::int32_t> LastNumber(std::string_view message) {
  const std::string_view word = message.substr(message.rfind(' ') + 1);
  std::int32_t number = 0;
  const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (word.empty() || code != std::errc{} || end != word.data() + word.size()) return std::nullopt;
  return number;
}

std::string_view FindMeaning(std::string_view message) {
  const auto number = LastNumber(message);
  if (!number) return {};
  const auto* const found = std::find_if(std::begin(kErrorMeanings), std::end(kErrorMeanings),
                                         [&](const auto& row) { return row.number == *number; });
  return found == std::end(kErrorMeanings) ? std::string_view() : found->text;
}

std::string ExplainLine(std::string_view line) {
  const auto* const found = std::find_if(std::begin(kQueueLines), std::end(kQueueLines),
                                         [&](const auto& row) { return row.line == line; });
  return found == std::end(kQueueLines) ? std::string() : std::string(found->text);
}

}  // namespace

std::string Explain(const Record& record) {
  if (!record.hasHead) return ExplainLine(record.text);
  if (!record.hasSource) return {};
  std::string text(Find(record.source));
  if (text.empty() || !record.IsError()) return text;
  const std::string_view meaning = FindMeaning(record.message);
  if (!meaning.empty()) {
    text += " (" + std::string(record.message.substr(record.message.rfind(' ') + 1)) + ": ";
    text += meaning;
    text += ')';
  }
  return text;
}

}  // namespace tlk::log
