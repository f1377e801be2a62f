#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/Fuzzing.h"
#include "xml/Dom.h"
#include "xml/Gate.h"

namespace tlk::fuzz {

inline std::size_t Count(std::string_view text, std::string_view of) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [of](char c) { return of.find(c) != std::string_view::npos; }));
}

/// Whether the gate refuses a text for its size alone.
inline bool IsBeyondLimits(const GateVerdict& verdict) {
  const std::string_view reason = verdict.Passed() ? "" : verdict.reason;
  return reason == "elements are nested too deeply" || reason == "too many attributes";
}

/// What becomes of a text that the gate lets in, when a document reads it and writes it.
inline std::string Rewritten(DomFactory& dom, std::string_view text) {
  std::unique_ptr<DomDocument> document;
  std::string written;
  bool loaded = false;
  Check(dom.NewDocument(document) == kDomOk, "there is a document");
  Check(document->LoadXml(text, loaded) == kDomOk && loaded, "the DOM loads what the gate lets in");
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

/// Whether a path takes a time that a fuzzer can wait for, for nothing bounds it in the product: a
/// predicate may visit the whole document again for each node that was found before it. So no text
/// with paths in it is long here, or has more than two brackets (or entities, which may hide one),
/// and all that they could visit is 80 tags.
inline bool IsAffordable(std::string_view text, std::string_view input) {
  return text.size() <= 160 && Count(text, "[(#") <= 2 && Count(input, "<") <= 80;
}

}  // namespace tlk::fuzz
