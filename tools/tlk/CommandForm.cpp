#include "tools/tlk/CommandForm.h"

#include <charconv>
#include <fstream>

#include "tools/tlk/InputFile.h"
#include "tools/tlk/Words.h"

namespace tlk {
namespace {

std::string Usage(const CommandForm& form) {
  std::string usage(form.name);
  const std::size_t count = CountWords(form);
  std::size_t open = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool opens = i == form.needed || (form.oneByOne && i > form.needed);
    usage += opens ? " [" : " ";
    usage += form.words[i].name;
    if (opens) ++open;
  }
  return usage.append(open, ']');
}

bool CountFits(const CommandForm& form, std::size_t given) {
  const std::size_t count = CountWords(form);
  const bool endless = count > 0 && form.words[count - 1].kind == WordKind::kRest;
  if (form.oneByOne) return given >= form.needed && given <= count;
  return given == form.needed || given == count || (endless && given > form.needed);
}

/// Each reader of a word returns what is wrong with it, or nothing.
std::string ReadNumber(const WordForm& form, const std::string& word, std::int64_t& number) {
  const char* const end = word.data() + word.size();
  const auto [stop, code] = std::from_chars(word.data(), end, number);
  if (code == std::errc{} && stop == end && number >= form.least && number <= form.most) return {};
  return std::string(form.name) + " must be a whole number from " + std::to_string(form.least) +
         " to " + std::to_string(form.most) + ", not " + Quote(word);
}

std::string ReadChoice(const WordForm& form, const std::string& word, std::int64_t& number) {
  const auto* const found = std::find(form.choices.begin(), form.choices.end(), word);
  if (found == form.choices.end()) {
    return std::string(form.name) + " must be " + std::string(form.choices[0]) + " or " +
           std::string(form.choices[1]) + ", not " + Quote(word);
  }
  number = found - form.choices.begin();
  return {};
}

std::string ReadDocument(const std::string& word, std::string& text) {
  if (!word.starts_with('@')) {
    text = word;
    return {};
  }
  std::ifstream file;
  std::string failure = OpenToRead(word.substr(1), file);
  while (failure.empty() && ReadPiece(file, text)) {
  }
  if (file.bad()) failure = SystemFailure();
  if (failure.empty()) return {};
  return "cannot read the file " + Quote(word.substr(1)) + ": " + failure;
}

std::string ReadWord(const WordForm& form, const std::string& word, Argument& argument) {
  switch (form.kind) {
    case WordKind::kNumber:
      return ReadNumber(form, word, argument.number);
    case WordKind::kChoice:
      return ReadChoice(form, word, argument.number);
    case WordKind::kDocument:
      return ReadDocument(word, argument.text);
    case WordKind::kText:
    case WordKind::kCommand:
      argument.text = word;
      break;
    case WordKind::kNone:
    case WordKind::kRest:
      break;
  }
  return {};
}

}  // namespace

std::size_t CountWords(const CommandForm& form) {
  const auto* const end =
      std::find_if(form.words.begin(), form.words.end(),
                   [](const WordForm& word) { return word.kind == WordKind::kNone; });
  return static_cast<std::size_t>(end - form.words.begin());
}

std::string Explain(const CommandForm& form) {
  constexpr std::size_t kAboutColumn = 33;
  const std::string indentation(kAboutColumn, ' ');
  std::string text = "  " + Usage(form);
  if (text.size() + 2 <= kAboutColumn) {
    text.resize(kAboutColumn, ' ');
  } else {
    text += '\n' + indentation;
  }
  for (const char letter : form.about) {
    text += letter;
    if (letter == '\n') text += indentation;
  }
  return text += '\n';
}

std::string Explain(std::span<const CommandForm> forms) {
  std::string text;
  for (const auto& form : forms) text += Explain(form);
  return text;
}

bool SplitCommand(std::string_view line, std::vector<std::string>& words, std::string& error) {
  words.clear();
  const std::size_t start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos || line[start] == '#') return true;
  return SplitWords(line, words, error);
}

std::string ReadArguments(const CommandForm& form, std::span<const std::string> words,
                          Arguments& arguments) {
  if (!CountFits(form, words.size())) return "wrong number of words: " + Usage(form);
  for (std::size_t i = 0; i < words.size() && form.words[i].kind != WordKind::kRest; ++i) {
    Argument argument;
    std::string error = ReadWord(form.words[i], words[i], argument);
    if (!error.empty()) return error;
    arguments.push_back(std::move(argument));
  }
  return {};
}

std::string UnknownCommand(std::string_view name) { return "unknown command " + Quote(name); }

}  // namespace tlk
