#include "xml/TLK_XMLBuilder.h"

namespace tlk {

int TLK_XMLBuilder::AddStatus(std::string_view /*value*/, std::string_view /*description*/) {
  return -1;
}

int TLK_XMLBuilder::AddConferenceList(std::string_view /*name*/, std::int32_t /*participantCount*/,
                                      std::string_view /*creator*/,
                                      std::uint32_t /*elapsedTime*/) {
  return -1;
}

int TLK_XMLBuilder::AddParticipantList(std::string_view /*name*/, std::int32_t /*isLeader*/,
                                       std::int32_t /*isCreator*/, std::int32_t /*queueIndex*/,
                                       std::string_view /*unused*/) {
  return -1;
}

}  // namespace tlk
