// The payloads that the builder writes itself: the status reply and the two lists.

#include "xml/BuilderFailures.h"
#include "xml/Documents.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk {

struct PayloadList {
  std::string_view path;
  std::string_view entry;
  Failure noData;
  Failure noEntry;
};

namespace {

constexpr PayloadList kConferences = {"//Conference_List", "Conference", failures::kConferenceData,
                                      failures::kConference};
constexpr PayloadList kParticipants = {"//Participant_List", "Participant",
                                       failures::kParticipantData, failures::kParticipant};

std::string_view Truth(std::int32_t flag) { return flag != 0 ? "TRUE" : "FALSE"; }

}  // namespace

int TLK_XMLBuilder::AddStatus(std::string_view value, std::string_view description) {
  if (!Begin()) return -1;
  DomNode data = nullptr;
  DomNode element = nullptr;
  if (FindOrMakeData(data) != kDomOk) {
    Report(failures::kStatusData);
  } else if (Noted(m_document->AsElement(data, element)) != kDomOk) {
    Report(failures::kStatusDataElement);
  } else if (const DomNode status = AddPart(element, "Status", failures::kStatus)) {
    if (AddText(status, "Value", value, failures::kStatusValue))
      AddText(status, "Description", description, failures::kStatusDescription);
  }
  return 0;
}

int TLK_XMLBuilder::AddConferenceList(std::string_view name, std::int32_t participantCount,
                                      std::string_view creator, std::uint32_t elapsedTime) {
  const Digits count = Decimal(participantCount);
  const Digits elapsed = Decimal(elapsedTime);
  const DomAttribute attributes[] = {{"Name", name},
                                     {"ParticipantCount", count.data()},
                                     {"Creator", creator},
                                     {"EllapsedTime", elapsed.data()}};
  return AddToList(kConferences, attributes);
}

int TLK_XMLBuilder::AddParticipantList(std::string_view name, std::int32_t isLeader,
                                       std::int32_t isCreator, std::int32_t queueIndex,
                                       std::string_view /*unused*/) {
  const Digits index = Decimal(queueIndex);
  const DomAttribute attributes[] = {{"Name", name},
                                     {"Creator", Truth(isCreator)},
                                     {"Leader", Truth(isLeader)},
                                     {"Queue_Index", index.data()}};
  return AddToList(kParticipants, attributes);
}

int TLK_XMLBuilder::AddToList(const PayloadList& kind, std::span<const DomAttribute> attributes) {
  if (!Begin()) return -1;
  const DomNode list = FindOrMakeList(kind.path, kind.noData);
  if (list == nullptr) return 0;
  AddPart(list, kind.entry, kind.noEntry, attributes);
  return 0;
}

// Adds an element of a payload. A failure is recorded twice, as logs have always had it: once for
// any element, once for this one.
DomNode TLK_XMLBuilder::AddPart(DomNode parent, std::string_view name, const Failure& failure,
                                std::span<const DomAttribute> attributes) {
  DomNode part = nullptr;
  if (!AddElement(parent, name, attributes, failures::kCreateElement, part)) Report(failure);
  return part;
}

bool TLK_XMLBuilder::AddText(DomNode parent, std::string_view name, std::string_view text,
                             const Failure& failure) {
  const DomNode part = AddPart(parent, name, failure);
  if (part != nullptr) Noted(m_document->SetText(part, text));
  return part != nullptr;
}

}  // namespace tlk
