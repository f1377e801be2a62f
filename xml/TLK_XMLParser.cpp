#include "xml/TLK_XMLParser.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "xml/Documents.h"

namespace tlk {
namespace {

constexpr const char* kSource = "TLK_XMLParser";

constexpr LoadFailures kConstructFailures = {SetUpTexts({33, 41, 49, 57}), ParseTexts(72)};

// The shown text has no line break here, unlike the builder's.
constexpr LoadFailures kLoadXmlFailures = {
    LoadXmlSetUpTexts({104, 111, 118, 125}),
    {"Failed to load XML.", "Failed to load XML. Error code: %x", FailureValues::kCode, 135}};

constexpr Failure kRootFailure = {"Failed to get root element.\n",
                                  "Failed to get root element. Error code: %x\n",
                                  FailureValues::kCode, 238};
constexpr Failure kNodeFailure = NoNode(249);
constexpr Failure kPathFailure = NoNode(318);
constexpr Failure kNodeAttributeFailure = NoElementInterface(324);

// As atoi reads it, but with an end to every number.
std::int32_t ReadDecimal(const std::string& text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const long long number = std::strtoll(text.c_str(), nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

}  // namespace

TLK_XMLParser::TLK_XMLParser(const Codec& codec, std::string_view source) : m_codec(codec) {
  DomResult why = kDomOk;
  m_document = LoadWellFormed(codec, kSource, kConstructFailures, source, why);
  m_lacksMemory = why == kDomOutOfMemory;
}

TLK_XMLParser::~TLK_XMLParser() = default;

int TLK_XMLParser::LoadXml(std::string_view source) {
  m_document.reset();
  DomResult why = kDomOk;
  m_document = LoadAnyText(m_codec, kSource, kLoadXmlFailures, source, why);
  m_lacksMemory = why == kDomOutOfMemory;
  return HasDocument() ? 0 : -1;
}

int TLK_XMLParser::GetRootElement(DomNode& root) {
  root = nullptr;
  if (!HasDocument()) return -1;
  return m_document->DocumentElement(root) == kDomOk ? -1 : 0;
}

int TLK_XMLParser::GetType(std::string& type) {
  DomNode root = nullptr;
  if (!FindRoot(root)) return -1;
  return IsGiven(m_document->Attribute(root, "Type", type)) ? 0 : -2;
}

int TLK_XMLParser::GetReceiverId(std::int32_t& id) {
  DomNode root = nullptr;
  if (!FindRoot(root)) return -1;
  m_document->SelectXPath();
  DomNode to = nullptr;
  std::string digits;
  if (!IsGiven(m_document->SelectNode(root, "To", to))) return -2;
  if (!IsGiven(m_document->Attribute(to, "Id", digits))) return -2;
  id = ReadDecimal(digits);
  return 0;
}

int TLK_XMLParser::GetData(std::string& data) {
  // A message without data is an ordinary one; what came of it shows in `data`.
  GetNode("Data", data, false);
  return 0;
}

int TLK_XMLParser::GetNode(std::string_view path, std::string& out, bool textOnly) {
  if (!HasDocument()) return -1;
  m_document->SelectXPath();

  DomNode root = nullptr;
  const DomResult rooted = m_document->DocumentElement(root);
  if (!Succeeded(rooted) || root == nullptr) {
    ReportFailure(m_codec, kSource, kRootFailure, rooted);
    return -1;
  }
  DomNode node = nullptr;
  const DomResult selected = m_document->SelectNode(root, path, node);
  if (!IsGiven(selected)) {
    ReportFailure(m_codec, kSource, kNodeFailure, selected, path);
    return -1;
  }
  const DomResult read = textOnly ? m_document->Text(node, out) : m_document->Xml(node, out);
  if (!IsGiven(read)) return -2;
  EndAtZero(out);
  return 0;
}

int TLK_XMLParser::GetNodeXml(DomNode node, std::string& xml) {
  if (!HasDocument() || node == nullptr) return -1;
  if (!IsGiven(m_document->Xml(node, xml))) return -1;
  EndAtZero(xml);
  return 0;
}

int TLK_XMLParser::GetAttribute(DomNode element, std::string_view name, std::string& value) {
  if (!HasDocument() || element == nullptr) return -1;
  return IsGiven(m_document->Attribute(element, name, value)) ? 0 : -1;
}

int TLK_XMLParser::GetNodeAttribute(std::string_view path, std::string_view name,
                                    std::string& value) {
  DomNode node = nullptr;
  if (SelectSingleNode(path, node) != kDomOk) return -1;
  DomNode element = nullptr;
  const DomResult result = m_document->AsElement(node, element);
  if (IsGiven(result)) return GetAttribute(element, name, value);
  ReportFailure(m_codec, kSource, kNodeAttributeFailure, result);
  return -1;
}

DomResult TLK_XMLParser::SelectSingleNode(std::string_view path, DomNode& node) {
  const DomResult result = SelectFirst(m_document.get(), path, node);
  if (result == kDomNotImplemented) ReportFailure(m_codec, kSource, kPathFailure, result, path);
  IsGiven(result);
  return result;
}

bool TLK_XMLParser::IsGiven(DomResult result) {
  m_lacksMemory = m_lacksMemory || result == kDomOutOfMemory;
  return result == kDomOk;
}

bool TLK_XMLParser::FindRoot(DomNode& root) const {
  return HasDocument() && Succeeded(m_document->DocumentElement(root)) && root != nullptr;
}

}  // namespace tlk
