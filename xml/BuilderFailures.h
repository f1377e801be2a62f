#pragma once

#include <cstdint>

#include "xml/Documents.h"
#include "xml/Failures.h"

namespace tlk {

/// How it is reported that a list which an operation is given is missing, or has nothing in it.
struct GivenListFailures {
  Failure noList;
  Failure noEntries;
};

/// Every failure that the builder reports, in the order of its operations: what is shown, what is
/// logged, the line of the record. Some texts do not fit their operation, and some are shared; that
/// is how logs have always read.
namespace failures {

inline constexpr const char* kSource = "TLK_XMLBuilder";

constexpr Failure Coded(const char* shown, const char* logged, std::int32_t line) {
  return {shown, logged, FailureValues::kCode, line};
}
constexpr Failure Plain(const char* shown, const char* logged, std::int32_t line) {
  return {shown, logged, FailureValues::kNone, line};
}
constexpr Failure Alike(const char* text, std::int32_t line) { return Plain(text, text, line); }

// These speak of `From` and of the document element, whatever could not be had.
constexpr Failure NoElement(std::int32_t line) {
  return Coded("Failed to create From element.\n",
               "Failed to create From element. Error code: %x\n", line);
}
constexpr Failure NoRoot(std::int32_t line) {
  return Coded("Failed to get document element.\n",
               "Failed to get document element. Error code: %x\n", line);
}
constexpr Failure NoDataElement(std::int32_t line) {
  return Plain("Failed to get document element.\n", "Failed to get create data element.\n", line);
}

// The envelope
inline constexpr LoadFailures kConstruct = {SetUpTexts({38, 46, 54, 62}), ParseTexts(77)};
inline constexpr LoadFailures kLoadXml = {
    LoadXmlSetUpTexts({112, 119, 126, 133}),
    Coded("Failed to load XML.\n", "Failed to load XML. Error code: %x", 143)};
inline constexpr SetUpFailures kCreateMessage = SetUpTexts({178, 186, 194, 202});
inline constexpr Failure kRootElement = Coded(
    "Failed to create root element.\n", "Failed to create root element. Error code: %x\n", 211);
inline constexpr Failure kFrom = NoElement(230);
inline constexpr Failure kTo = NoElement(246);
inline constexpr Failure kCreateElement = NoElement(291);
inline constexpr Failure kSetLength = NoRoot(336);
inline constexpr Failure kPath = NoNode(352);
inline constexpr Failure kSetNodeAttribute = NoElementInterface(368);
inline constexpr Failure kEnsureDataRoot = NoRoot(391);
inline constexpr Failure kEnsureData = NoDataElement(409);
inline constexpr Failure kAppendData = NoRoot(445);

// Payloads
inline constexpr Failure kStatusData = Alike("Failed to find DataElement.\n", 502);
inline constexpr Failure kStatusDataElement = NoDataElement(511);
inline constexpr Failure kStatus = Alike("Failed to create Status element.\n", 520);
inline constexpr Failure kStatusValue = Alike("Failed to create Value element.\n", 531);
inline constexpr Failure kStatusDescription = Alike("Failed to create Description element.\n", 543);
inline constexpr Failure kConferenceData = Alike("Failed to find Data element.\n", 583);
inline constexpr Failure kConference = Alike("Failed to create Conference element.\n", 596);
inline constexpr Failure kParticipantData = Alike("Failed to find Data element.\n", 641);
inline constexpr Failure kParticipant = Alike("Failed to create Participant element.\n", 654);

// Attribute lists
inline constexpr GivenListFailures kAddAttributes = {
    Plain("No Attributes list to add.\n", "No Attributes list to add", 702),
    Plain("No Attributes to add in the list.\n", "No Attributes to add", 710)};
inline constexpr GivenListFailures kAddPaths = {
    Plain("Path list not specified.\n", "Path list not specified.", 748),
    Plain("No paths.\n", "No paths.", 756)};
inline constexpr Failure kAddData = Alike("Failed to find Data element.\n", 767);
inline constexpr Failure kAddEmptyPath =
    Plain("No path in path node.\n", "No path in path node.", 783);
inline constexpr GivenListFailures kDelete = {
    Plain("No Attributes List to delete.\n", "No Attributes list to delete", 821),
    Plain("No Attributes to delete.\n", "No Attributes to delete", 829)};
inline constexpr Failure kDeleteNoList =
    Plain("Cannot delete Attributes. None exist.\n", "No Attribute List to delete from.", 838);
inline constexpr GivenListFailures kUpdate = {
    Plain("No Attribute list to update with.\n", "No Attributes list to update with", 907),
    Plain("No Attributes to update with.\n", "No Attributes to update with", 915)};
inline constexpr GivenListFailures kUpdatePaths = {
    Plain("No Attributes List to delete.\n", "No Attributes list to delete", 958),
    Plain("No Path specified.\n", "No Path specified", 966)};
inline constexpr Failure kUpdateNoList =
    Plain("No Attribute List to update.\n", "No Attribute List to update.", 975);

}  // namespace failures
}  // namespace tlk
