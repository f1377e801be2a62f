#include "xml/TLK_XMLBuilder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "xml/BuilderFailures.h"
#include "xml/Documents.h"
#include "xml/Gate.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {
namespace {

constexpr std::string_view kBeforeStamp = "<TLK_Message Length=\"";
constexpr std::string_view kEmptyStamp = "0000000";

Digits Stamp(std::size_t length) {
  const Digits digits = Decimal(static_cast<std::int64_t>(length));
  const std::string_view plain = digits.data();
  Digits stamp{};
  const std::size_t zeros = kEmptyStamp.size() - std::min(plain.size(), kEmptyStamp.size());
  std::copy(plain.begin(), plain.end(), std::fill_n(stamp.begin(), zeros, '0'));
  return stamp;
}

// Puts a stamp into a serialised document, if a value of the same width stands there in the usual
// place.
bool PatchStamp(std::string& text, std::string_view stamp) {
  if (stamp.size() != kEmptyStamp.size() || !text.starts_with(kBeforeStamp)) return false;
  if (text.find('"', kBeforeStamp.size()) != kBeforeStamp.size() + stamp.size()) return false;
  std::copy(stamp.begin(), stamp.end(),
            text.begin() + static_cast<std::ptrdiff_t>(kBeforeStamp.size()));
  return true;
}

}  // namespace

TLK_XMLBuilder::TLK_XMLBuilder(const Codec& codec) : m_codec(codec) {}

TLK_XMLBuilder::TLK_XMLBuilder(const Codec& codec, std::string_view source) : m_codec(codec) {
  DomResult why = kDomOk;
  m_document = LoadWellFormed(codec, failures::kSource, failures::kConstruct, source, why);
  Noted(why);
}

TLK_XMLBuilder::~TLK_XMLBuilder() = default;

// Whether there is a document to work on. No operation needs the nodes of those before it.
bool TLK_XMLBuilder::Begin() {
  if (HasDocument()) m_document->ForgetNodes();
  return HasDocument();
}

// The result of an operation that leaves no document.
int TLK_XMLBuilder::Clear() {
  m_document = nullptr;
  m_isStamped = false;
  return -1;
}

int TLK_XMLBuilder::LoadXml(std::string_view source) {
  Clear();
  DomResult why = kDomOk;
  m_document = LoadAnyText(m_codec, failures::kSource, failures::kLoadXml, source, why);
  m_lacksMemory = why == kDomOutOfMemory;
  return HasDocument() ? 0 : -1;
}

int TLK_XMLBuilder::CreateMessage(std::string_view type, std::int32_t sender,
                                  std::int32_t receiver) {
  Clear();
  DomResult why = kDomOk;
  m_document = SetUpDocument(m_codec, failures::kSource, failures::kCreateMessage, why);
  m_lacksMemory = why == kDomOutOfMemory;
  if (!HasDocument()) return -1;
  return BuildEnvelope(type, sender, receiver) ? 0 : Clear();
}

int TLK_XMLBuilder::CreateMessage(std::string_view type, std::int32_t sender, std::int32_t receiver,
                                  std::int32_t status, std::string_view description) {
  if (CreateMessage(type, sender, receiver) != 0) return -1;
  AddStatus(Decimal(status).data(), description);
  return 0;
}

int TLK_XMLBuilder::GetXml(std::string& xml) {
  if (!m_isStamped) return Serialise(xml);
  xml.swap(m_stampedText);
  m_isStamped = false;
  return 0;
}

int TLK_XMLBuilder::SetLength() {
  if (!Begin()) return -1;
  m_isStamped = false;
  if (Serialise(m_stampedText) != 0) m_stampedText.clear();
  const Digits stamp = Stamp(m_stampedText.size());

  DomNode root = nullptr;
  if (!FindRoot(root, failures::kSetLength)) return -1;
  const DomResult stamped = SetAttribute(root, "Length", stamp.data());
  m_isStamped = stamped == kDomOk && PatchStamp(m_stampedText, stamp.data());
  return 0;
}

int TLK_XMLBuilder::GetNodeText(std::string_view path, std::string& text) {
  DomNode node = nullptr;
  if (!Begin() || SelectSingleNode(path, node) != kDomOk) return -1;
  if (Noted(m_document->Text(node, text)) != kDomOk) return -2;
  EndAtZero(text);
  return 0;
}

int TLK_XMLBuilder::SetNodeAttribute(std::string_view path, std::string_view name,
                                     std::string_view value) {
  DomNode node = nullptr;
  if (!Begin() || SelectSingleNode(path, node) != kDomOk) return -1;
  DomNode element = nullptr;
  DomResult result = Noted(m_document->AsElement(node, element));
  if (result == kDomOk) {
    result = SetAttribute(element, name, value);
    // A name that cannot be set is the one failure that is told; others have always passed for
    // success.
    if (result != kDomBadArgument) return 0;
  }
  Report(failures::kSetNodeAttribute, result);
  return -1;
}

int TLK_XMLBuilder::EnsureDataElement() {
  DomNode root = nullptr;
  DomNode data = nullptr;
  if (!Begin() || !FindRoot(root, failures::kEnsureDataRoot)) return -1;
  if (SelectSingleNode("//Data", data) != kDomOk) AppendDataElement(root);
  return 0;
}

void TLK_XMLBuilder::AppendDataElement(DomNode root) {
  DomNode data = nullptr;
  if (!AddElement(root, "Data", {}, failures::kCreateElement, data)) Report(failures::kEnsureData);
}

int TLK_XMLBuilder::AppendData(std::string_view payload) {
  if (!Begin()) return -1;
  DomNode data = nullptr;
  const DomResult found = FindOrMakeData(data);
  if (found != kDomOk) {
    Report(failures::kAppendData, found);
    return -1;
  }
  if (!AppendInPlace(data, payload)) AppendFromDocument(data, payload);
  return 0;
}

// Reads the payload into the document without a document of its own. A failure is not reported:
// the caller then takes the long way, which meets it again and reports it.
bool TLK_XMLBuilder::AppendInPlace(DomNode data, std::string_view payload) {
  if (!m_document->ReadsInPlace() || !m_codec.gate.Pass(payload, m_codec.maxDepth).Passed())
    return false;
  if (m_document->ReadInto(data, payload) != kDomOk) return false;
  m_isStamped = false;
  return true;
}

void TLK_XMLBuilder::AppendFromDocument(DomNode data, std::string_view payload) {
  TLK_XMLParser parser(m_codec, payload);
  DomNode root = nullptr;
  parser.GetRootElement(root);
  if (root != nullptr) Append(data, root);
  m_lacksMemory = m_lacksMemory || parser.LacksMemory();
}

bool TLK_XMLBuilder::BuildEnvelope(std::string_view type, std::int32_t sender,
                                   std::int32_t receiver) {
  const std::array<DomAttribute, 3> attributes = {
      {{"Length", kEmptyStamp}, {"xmlns", ""}, {"Type", type}}};
  DomNode root = nullptr;
  return AddElement(nullptr, "TLK_Message", attributes, failures::kRootElement, root) &&
         AddParty(root, "From", sender, failures::kFrom) &&
         AddParty(root, "To", receiver, failures::kTo);
}

bool TLK_XMLBuilder::AddParty(DomNode root, std::string_view name, std::int32_t id,
                              const Failure& failure) {
  const Digits digits = Decimal(id);
  const std::array<DomAttribute, 1> attributes = {{{"Id", digits.data()}}};
  DomNode party = nullptr;
  return AddElement(root, name, attributes, failure, party);
}

bool TLK_XMLBuilder::AddElement(DomNode parent, std::string_view name,
                                std::span<const DomAttribute> attributes, const Failure& failure,
                                DomNode& element) {
  m_isStamped = false;
  const DomResult result = m_document->AddElement(parent, name, attributes, element);
  return IsMade(element, failure, result);
}

bool TLK_XMLBuilder::IsMade(DomNode& element, const Failure& failure, DomResult result) {
  if (Succeeded(Noted(result)) && element != nullptr) return true;
  Report(failure, result);
  element = nullptr;
  return false;
}

DomResult TLK_XMLBuilder::Noted(DomResult result) {
  m_lacksMemory = m_lacksMemory || result == kDomOutOfMemory;
  return result;
}

int TLK_XMLBuilder::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  if (!HasDocument()) return -1;
  const DomResult result = m_document->CreateElement(name, element);
  return IsMade(element, failures::kCreateElement, result) ? 0 : -1;
}

DomResult TLK_XMLBuilder::SetAttribute(DomNode element, std::string_view name,
                                       std::string_view value) {
  m_isStamped = false;
  return Noted(m_document->SetAttribute(element, name, value));
}

void TLK_XMLBuilder::Append(DomNode parent, DomNode child) {
  m_isStamped = false;
  Noted(m_document->AppendChild(parent, child));
}

DomResult TLK_XMLBuilder::SelectSingleNode(std::string_view path, DomNode& node) {
  return Selected(path, SelectFirst(m_document.get(), path, node));
}

// A path that selects nothing is passed over; one that this DOM cannot answer is reported.
DomResult TLK_XMLBuilder::Selected(std::string_view path, DomResult result) {
  if (result == kDomNotImplemented)
    ReportFailure(m_codec, failures::kSource, failures::kPath, result, path);
  return Noted(result);
}

DomResult TLK_XMLBuilder::FindOrMakeData(DomNode& data) {
  const DomResult found = SelectSingleNode("//Data", data);
  DomNode root = nullptr;
  if (found == kDomOk || !FindRoot(root, failures::kEnsureDataRoot)) return found;
  AppendDataElement(root);
  return SelectSingleNode("//Data", data);
}

// A list is made under `Data`, which must be there; null when there is no list then.
DomNode TLK_XMLBuilder::FindOrMakeList(std::string_view path, const Failure& noData) {
  DomNode list = nullptr;
  if (SelectSingleNode(path, list) == kDomOk) return list;
  DomNode made = nullptr;
  if (CreateElement(path.substr(path.rfind('/') + 1), made) != 0) return nullptr;
  DomNode data = nullptr;
  if (SelectSingleNode("//Data", data) != kDomOk) {
    Report(noData);
    return nullptr;
  }
  Append(data, made);
  return SelectSingleNode(path, list) == kDomOk ? list : nullptr;
}

bool TLK_XMLBuilder::FindRoot(DomNode& root, const Failure& failure) {
  const DomResult found = Noted(m_document->DocumentElement(root));
  if (Succeeded(found) && root != nullptr) return true;
  Report(failure, found);
  return false;
}

void TLK_XMLBuilder::Report(const Failure& failure, DomResult code) const {
  ReportFailure(m_codec, failures::kSource, failure, code);
}

int TLK_XMLBuilder::Serialise(std::string& xml) {
  if (!HasDocument() || Noted(m_document->Xml(nullptr, xml)) != kDomOk) return -1;
  EndAtZero(xml);
  return 0;
}

}  // namespace tlk
