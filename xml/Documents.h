#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "xml/Failures.h"

/// What builder and parser do alike with documents: make and load them, with the reports of what
/// fails, and select in them.

namespace tlk {

/// The settings that every document gets, in the order in which they are made.
inline constexpr std::size_t kDocumentSettings = 3;

/// How the failures of making a document are reported.
struct SetUpFailures {
  Failure create;
  std::array<Failure, kDocumentSettings> settings;
};

/// How the failures of making a document from a text are reported.
struct LoadFailures {
  SetUpFailures setUp;
  Failure load;
};

/// The line numbers of the records: creation, then the settings in their order.
using SetUpLines = std::array<std::int32_t, 1 + kDocumentSettings>;

/// The texts of the constructors and of `CreateMessage`, whose log texts end in a line break, and
/// those of `LoadXml`, whose log texts do not.
[[nodiscard]] constexpr SetUpFailures SetUpTexts(const SetUpLines& lines);
[[nodiscard]] constexpr SetUpFailures LoadXmlSetUpTexts(const SetUpLines& lines);

/// The texts of a constructor that cannot parse its source text.
[[nodiscard]] constexpr Failure ParseTexts(std::int32_t line);

/// Makes an empty document and sets it up; null when a step fails, which is then reported. `why`
/// is then the result of that step.
[[nodiscard]] std::unique_ptr<DomDocument> SetUpDocument(const Codec& codec, const char* source,
                                                         const SetUpFailures& failures,
                                                         DomResult& why);

/// Makes a document from a text; null when the text cannot be parsed, or a step before fails, which
/// is then reported. Nothing that the gate refuses is shown to the DOM; it counts as text that
/// cannot be parsed. `why` then tells the lack of memory from a text that is to blame.
[[nodiscard]] std::unique_ptr<DomDocument> LoadWellFormed(const Codec& codec, const char* source,
                                                          const LoadFailures& failures,
                                                          std::string_view text, DomResult& why);

/// The same, judged by the result code only: a text that cannot be parsed gives a document that
/// holds nothing, without a report.
[[nodiscard]] std::unique_ptr<DomDocument> LoadAnyText(const Codec& codec, const char* source,
                                                       const LoadFailures& failures,
                                                       std::string_view text, DomResult& why);

/// The first node of a document that a path selects; nothing when there is no document.
[[nodiscard]] DomResult SelectFirst(DomDocument* document, std::string_view path, DomNode& node);

/// The texts of a node that a path does not select, or that its DOM cannot find by it.
[[nodiscard]] constexpr Failure NoNode(std::int32_t line) {
  return {"Failed node does not exist. %s.\n", "Failed node does not exist. %S. Error code: %x",
          FailureValues::kTextThenCode, line};
}

/// Digits of a number, ended by a zero byte.
using Digits = std::array<char, 24>;

/// A number in decimal, as documents hold it.
[[nodiscard]] inline Digits Decimal(std::int64_t number) {
  Digits digits{};
  std::to_chars(digits.data(), digits.data() + digits.size() - 1, number);
  return digits;
}

/// Ends a text before its first zero byte.
void EndAtZero(std::string& text);

/// The texts of a node that has no attributes, or cannot have the one that is to be set.
[[nodiscard]] constexpr Failure NoElementInterface(std::int32_t line) {
  return {"Failed to get element from node.\n", "Failed to get element from node. Error code: %x\n",
          FailureValues::kCode, line};
}

constexpr SetUpFailures SetUpTexts(const SetUpLines& lines) {
  constexpr FailureValues kCode = FailureValues::kCode;
  return {
      {"Failed to CoCreate an instance of an XML DOM\nError code: %x\n",
       "Failed to CoCreate an instance of an XML DOM. Error code: %x\n", kCode, lines[0]},
      {{{"Failed to set async property\n", "Failed to set async property. Error code: %x\n", kCode,
         lines[1]},
        {"Failed to set validateOnParse\n", "Failed to set validateOnParse. Error code: %x\n",
         kCode, lines[2]},
        {"Failed to disable resolving externals.\n",
         "Failed to disable resolving externals. Error code: %x\n", kCode, lines[3]}}},
  };
}

constexpr SetUpFailures LoadXmlSetUpTexts(const SetUpLines& lines) {
  SetUpFailures failures = SetUpTexts(lines);
  failures.create.logged = "Failed to CoCreate an instance of an XML DOM. Error code: %x";
  failures.settings[0].logged = "Failed to set async property. Error code: %x";
  failures.settings[1].logged = "Failed to set validateOnParse. Error code: %x";
  failures.settings[2].logged = "Failed to disable resolving externals. Error code: %x";
  return failures;
}

constexpr Failure ParseTexts(std::int32_t line) {
  return {"Failed to load DOM from source string. %s\n",
          "Failed to load DOM from source string. \t\t\tError code: %x\nReason : %S",
          FailureValues::kCodeThenText, line};
}

}  // namespace tlk
