#include "xml/TLK_XMLBuilder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "xml/DocumentLoader.h"
#include "xml/NodeAccess.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {
namespace {

constexpr const char* kSource = "TLK_XMLBuilder";

constexpr LoadFailures kConstructFailures = {SetUpTexts({38, 46, 54, 62}), ParseTexts(77)};

constexpr LoadFailures kLoadXmlFailures = {
    LoadXmlSetUpTexts({112, 119, 126, 133}),
    {"Failed to load XML.\n", "Failed to load XML. Error code: %x", FailureValues::kCode, 143}};

constexpr SetUpFailures kCreateMessageFailures = SetUpTexts({178, 186, 194, 202});

constexpr Failure kRootElementFailure = {"Failed to create root element.\n",
                                         "Failed to create root element. Error code: %x\n",
                                         FailureValues::kCode, 211};

// These texts speak of `From` whatever element could not be made.
constexpr Failure ElementFailure(std::int32_t line) {
  return {"Failed to create From element.\n", "Failed to create From element. Error code: %x\n",
          FailureValues::kCode, line};
}

constexpr Failure RootFailure(std::int32_t line) {
  return {"Failed to get document element.\n", "Failed to get document element. Error code: %x\n",
          FailureValues::kCode, line};
}

constexpr Failure kFromFailure = ElementFailure(230);
constexpr Failure kToFailure = ElementFailure(246);
constexpr Failure kCreateElementFailure = ElementFailure(291);
constexpr Failure kSetLengthFailure = RootFailure(336);
constexpr Failure kEnsureDataRootFailure = RootFailure(391);
constexpr Failure kEnsureDataFailure = {"Failed to get document element.\n",
                                        "Failed to get create data element.\n",
                                        FailureValues::kNone, 409};
constexpr Failure kAppendDataFailure = RootFailure(445);
constexpr std::int32_t kNotAnElementLine = 368;

constexpr std::string_view kBeforeStamp = "<TLK_Message Length=\"";
constexpr std::string_view kEmptyStamp = "0000000";

// A number as attributes hold it: 32 bits in decimal, or the stamp's digits.
using Digits = std::array<char, 24>;

Digits Decimal(std::int32_t number) {
  Digits digits{};
  std::snprintf(digits.data(), digits.size(), "%d", number);
  return digits;
}

Digits Stamp(std::size_t length) {
  Digits digits{};
  std::snprintf(digits.data(), digits.size(), "%07zu", length);
  return digits;
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

TLK_XMLBuilder::TLK_XMLBuilder(const Codec& codec, std::string_view source)
    : m_codec(codec), m_document(LoadWellFormed(codec, kSource, kConstructFailures, source)) {}

TLK_XMLBuilder::~TLK_XMLBuilder() = default;

int TLK_XMLBuilder::LoadXml(std::string_view source) {
  Replace(nullptr);
  Replace(LoadAnyText(m_codec, kSource, kLoadXmlFailures, source));
  return HasDocument() ? 0 : -1;
}

int TLK_XMLBuilder::CreateMessage(std::string_view type, std::int32_t sender,
                                  std::int32_t receiver) {
  Replace(nullptr);
  Replace(SetUpDocument(m_codec, kSource, kCreateMessageFailures));
  if (!HasDocument()) return -1;
  if (BuildEnvelope(type, sender, receiver)) return 0;
  Replace(nullptr);
  return -1;
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
  if (!HasDocument()) return -1;
  m_isStamped = false;
  if (Serialise(m_stampedText) != 0) m_stampedText.clear();
  const Digits stamp = Stamp(m_stampedText.size());

  DomNode root = nullptr;
  const DomResult found = m_document->DocumentElement(root);
  if (!Succeeded(found) || root == nullptr) {
    ReportFailure(m_codec, kSource, kSetLengthFailure, found);
    return -1;
  }
  const DomResult stamped = m_document->SetAttribute(root, "Length", stamp.data());
  m_isStamped = stamped == kDomOk && PatchStamp(m_stampedText, stamp.data());
  return 0;
}

int TLK_XMLBuilder::GetNodeText(std::string_view path, std::string& text) {
  DomNode node = nullptr;
  if (SelectSingleNode(path, node) != kDomOk) return -1;
  if (m_document->Text(node, text) != kDomOk) return -2;
  EndAtZero(text);
  return 0;
}

int TLK_XMLBuilder::SetNodeAttribute(std::string_view path, std::string_view name,
                                     std::string_view value) {
  const DomNode element =
      SelectElement(m_codec, kSource, kNotAnElementLine, m_document.get(), path);
  return element == nullptr ? -1 : SetAttribute(element, name, value);
}

int TLK_XMLBuilder::EnsureDataElement() {
  if (!HasDocument()) return -1;
  DomNode root = nullptr;
  const DomResult found = m_document->DocumentElement(root);
  if (!Succeeded(found) || root == nullptr) {
    ReportFailure(m_codec, kSource, kEnsureDataRootFailure, found);
    return -1;
  }
  DomNode data = nullptr;
  if (SelectSingleNode("//Data", data) == kDomOk) return 0;
  if (CreateElement("Data", data) == 0) {
    Append(root, data);
  } else {
    ReportFailure(m_codec, kSource, kEnsureDataFailure, kDomOk);
  }
  return 0;
}

int TLK_XMLBuilder::AppendData(std::string_view payload) {
  if (!HasDocument()) return -1;
  DomNode data = nullptr;
  DomResult found = SelectSingleNode("//Data", data);
  if (found != kDomOk) {
    EnsureDataElement();
    found = SelectSingleNode("//Data", data);
  }
  if (found != kDomOk) {
    ReportFailure(m_codec, kSource, kAppendDataFailure, found);
    return -1;
  }
  TLK_XMLParser parser(m_codec, payload);
  DomNode root = nullptr;
  parser.GetRootElement(root);
  if (root != nullptr) Append(data, root);
  return 0;
}

void TLK_XMLBuilder::Replace(std::unique_ptr<DomDocument> document) {
  m_document = std::move(document);
  m_isStamped = false;
}

bool TLK_XMLBuilder::NewElement(std::string_view name, const Failure& failure, DomNode& element) {
  const DomResult result = m_document->CreateElement(name, element);
  if (Succeeded(result) && element != nullptr) return true;
  ReportFailure(m_codec, kSource, failure, result);
  element = nullptr;
  return false;
}

bool TLK_XMLBuilder::BuildEnvelope(std::string_view type, std::int32_t sender,
                                   std::int32_t receiver) {
  DomNode root = nullptr;
  if (!NewElement("TLK_Message", kRootElementFailure, root)) return false;
  SetAttribute(root, "Length", kEmptyStamp);
  SetAttribute(root, "xmlns", "");
  SetAttribute(root, "Type", type);
  m_document->SetDocumentElement(root);
  return AddParty(root, "From", sender, kFromFailure) && AddParty(root, "To", receiver, kToFailure);
}

bool TLK_XMLBuilder::AddParty(DomNode root, std::string_view name, std::int32_t id,
                              const Failure& failure) {
  DomNode party = nullptr;
  if (!NewElement(name, failure, party)) return false;
  SetAttribute(party, "Id", Decimal(id).data());
  Append(root, party);
  return true;
}

int TLK_XMLBuilder::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  if (!HasDocument()) return -1;
  return NewElement(name, kCreateElementFailure, element) ? 0 : -1;
}

int TLK_XMLBuilder::SetAttribute(DomNode element, std::string_view name, std::string_view value) {
  m_isStamped = false;
  m_document->SetAttribute(element, name, value);
  return 0;
}

void TLK_XMLBuilder::Append(DomNode parent, DomNode child) {
  m_isStamped = false;
  m_document->AppendChild(parent, child);
}

DomResult TLK_XMLBuilder::SelectSingleNode(std::string_view path, DomNode& node) {
  return SelectFirst(m_document.get(), path, node);
}

int TLK_XMLBuilder::Serialise(std::string& xml) const {
  if (!HasDocument() || m_document->Xml(nullptr, xml) != kDomOk) return -1;
  EndAtZero(xml);
  return 0;
}

}  // namespace tlk
