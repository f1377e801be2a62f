#include "tools/tlk/console/Completion.h"

#include <algorithm>

#include "tools/tlk/Words.h"

namespace tlk {
namespace {

using Forms = std::span<const CommandForm>;
using Names = std::vector<std::string_view>;

Names NamesOf(Forms forms) {
  Names names;
  for (const auto& form : forms) names.push_back(form.name);
  return names;
}

Names ChoicesOf(const WordForm& word, Forms forms) {
  if (word.kind == WordKind::kCommand) return NamesOf(forms);
  if (word.kind != WordKind::kChoice) return {};
  return {word.choices.begin(), word.choices.end()};
}

/// What may stand behind `words`, which may end with a command that a handler runs.
Names Following(Forms forms, std::span<const std::string> words) {
  while (!words.empty()) {
    const auto form = std::find_if(forms.begin(), forms.end(), [&](const CommandForm& known) {
      return known.name == words.front();
    });
    words = words.subspan(1);
    if (form == forms.end()) return {};
    const auto* const rest =
        std::find_if(form->words.begin(), form->words.end(),
                     [](const WordForm& word) { return word.kind == WordKind::kRest; });
    const auto own = static_cast<std::size_t>(rest - form->words.begin());
    if (words.size() < own) return ChoicesOf(form->words[words.size()], forms);
    if (rest == form->words.end()) return {};
    words = words.subspan(own);
  }
  return NamesOf(forms);
}

std::string CommonBeginning(const std::vector<std::string>& words) {
  std::string common = words.front();
  for (const auto& word : words) {
    const auto differ = std::mismatch(common.begin(), common.end(), word.begin(), word.end());
    common.erase(differ.first, common.end());
  }
  return common;
}

}  // namespace

Completion Complete(Forms forms, std::string_view typed) {
  const std::size_t begin = typed.find_last_of(" \t") + 1;
  const std::string_view part = typed.substr(begin);
  std::vector<std::string> words;
  std::string error;
  Completion completion;
  if (!SplitWords(typed.substr(0, begin), words, error)) return completion;

  for (const auto choice : Following(forms, words)) {
    if (choice.starts_with(part)) completion.choices.emplace_back(choice);
  }
  if (completion.choices.empty()) return completion;
  completion.rest = CommonBeginning(completion.choices).substr(part.size());
  if (completion.choices.size() == 1) completion.rest += ' ';
  return completion;
}

}  // namespace tlk
