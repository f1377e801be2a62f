#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/Fuzzing.h"
#include "xml/Dom.h"
#include "xml/Gate.h"

namespace tlk::fuzz {

/// Whether the gate refuses a text for its size alone.
inline bool IsBeyondLimits(const GateVerdict& verdict) {
  if (verdict.Passed()) return false;
  const std::string_view reason = verdict.reason;
  return reason == "elements are nested too deeply" || reason == "too many attributes";
}

/// What becomes of a text that the gate lets in, when a document reads it and writes it.
inline std::string Rewritten(DomFactory& dom, std::string_view text) {
  std::unique_ptr<DomDocument> document;
  Check(dom.NewDocument(document) == kDomOk, "there is a document");
  bool loaded = false;
  Check(document->LoadXml(text, loaded) == kDomOk && loaded, "the DOM loads what the gate lets in");
  std::string written;
  Check(document->Xml(nullptr, written) == kDomOk, "a document is written");
  return written;
}

/// Holds a text that a document wrote to what the DOM promises: it can be read, and is then written
/// the same, but for white space alone between two tags, which may be gone the first time.
inline void CheckReadsBack(DomFactory& dom, const XmlGate& gate, const std::string& written) {
  const auto withoutBlanks = [](std::string text) {
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n' || c == '\t'; });
    return text;
  };
  const GateVerdict verdict = gate.Pass(written);
  if (IsBeyondLimits(verdict)) return;
  Check(verdict.Passed(), "the gate lets in what a document wrote");
  const std::string again = Rewritten(dom, written);
  Check(withoutBlanks(again) == withoutBlanks(written), "what was written is read back the same");
  Check(gate.Pass(again).Passed() && Rewritten(dom, again) == again, "and then for good");
}

/// Whether a path takes a time that a fuzzer can wait for. Nothing bounds that time in the product:
/// a predicate may visit all of a document once more for each node that the rest has found. So a
/// path has two brackets at most here, entities for them included, and is as short as can be.
inline bool IsAffordable(std::string_view path, std::string_view input) {
  constexpr std::size_t kLongest = 120;
  constexpr std::ptrdiff_t kBrackets = 2;
  constexpr std::ptrdiff_t kTags = 80;
  const auto count = [](std::string_view text, std::string_view of) {
    return std::count_if(text.begin(), text.end(),
                         [of](char c) { return of.find(c) != std::string_view::npos; });
  };
  return path.size() <= kLongest && count(path, "[(#") <= kBrackets && count(input, "<") <= kTags;
}

}  // namespace tlk::fuzz
