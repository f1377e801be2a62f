#include "xml/Documents.h"

#include <cstdio>
#include <string>

#include "xml/Gate.h"

namespace tlk {
namespace {

using Setting = DomResult (DomDocument::*)(bool);
constexpr std::array<Setting, kDocumentSettings> kSettings = {
    &DomDocument::SetAsync, &DomDocument::SetValidateOnParse, &DomDocument::SetResolveExternals};

// What became of a text: whether it could be parsed, and why not.
struct Parse {
  DomResult result = kDomOk;
  bool loaded = false;
  GateVerdict verdict;
};

Parse LoadThroughGate(const Codec& codec, DomDocument& document, std::string_view text) {
  document.SelectXPath();
  Parse parse;
  parse.verdict = codec.gate.Pass(text, codec.maxDepth);
  if (parse.verdict.Passed()) parse.result = document.LoadXml(text, parse.loaded);
  if (parse.verdict.lacksMemory) parse.result = kDomOutOfMemory;
  return parse;
}

void ReportRefusal(const Codec& codec, const char* source, const Failure& failure,
                   const GateVerdict& verdict) {
  std::array<char, 256> reason;
  std::snprintf(reason.data(), reason.size(), "%s, at byte %zu", verdict.reason, verdict.position);
  ReportFailureInWords(codec, source, failure, kDomOk, reason.data());
}

// The code in the record is the result of asking for the reason, not of the parse.
void ReportParseError(const Codec& codec, const char* source, const Failure& failure,
                      DomDocument& document) {
  std::string reason;
  const DomResult result = document.ParseErrorReason(reason);
  ReportFailure(codec, source, failure, result, reason);
}

}  // namespace

std::unique_ptr<DomDocument> SetUpDocument(const Codec& codec, const char* source,
                                           const SetUpFailures& failures, DomResult& why) {
  std::unique_ptr<DomDocument> document;
  const DomResult created = codec.dom.NewDocument(document);
  if (!Succeeded(created) || document == nullptr) {
    why = created;
    ReportFailure(codec, source, failures.create, created);
    return nullptr;
  }
  for (std::size_t i = 0; i < kSettings.size(); ++i) {
    const DomResult result = (document.get()->*kSettings[i])(false);
    if (!Succeeded(result)) {
      why = result;
      ReportFailure(codec, source, failures.settings[i], result);
      return nullptr;
    }
  }
  return document;
}

std::unique_ptr<DomDocument> LoadWellFormed(const Codec& codec, const char* source,
                                            const LoadFailures& failures, std::string_view text,
                                            DomResult& why) {
  std::unique_ptr<DomDocument> document = SetUpDocument(codec, source, failures.setUp, why);
  if (document == nullptr) return nullptr;
  const Parse parse = LoadThroughGate(codec, *document, text);
  if (parse.loaded) return document;
  why = parse.result;
  if (parse.verdict.Passed()) {
    ReportParseError(codec, source, failures.load, *document);
  } else {
    ReportRefusal(codec, source, failures.load, parse.verdict);
  }
  return nullptr;
}

std::unique_ptr<DomDocument> LoadAnyText(const Codec& codec, const char* source,
                                         const LoadFailures& failures, std::string_view text,
                                         DomResult& why) {
  std::unique_ptr<DomDocument> document = SetUpDocument(codec, source, failures.setUp, why);
  if (document == nullptr) return nullptr;
  const Parse parse = LoadThroughGate(codec, *document, text);
  why = parse.result;
  if (Succeeded(parse.result)) return document;
  ReportFailure(codec, source, failures.load, parse.result);
  return nullptr;
}

DomResult SelectFirst(DomDocument* document, std::string_view path, DomNode& node) {
  node = nullptr;
  if (document == nullptr) return kDomNothing;
  document->SelectXPath();
  return document->SelectNode(nullptr, path, node);
}

void EndAtZero(std::string& text) {
  const std::size_t end = text.find('\0');
  if (end != std::string::npos) text.resize(end);
}

}  // namespace tlk
