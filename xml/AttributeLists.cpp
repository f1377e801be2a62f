// The operations on the attribute list of a message. They differ in what their rows say; one walk
// serves them all.

#include <array>
#include <cstddef>

#include "xml/BuilderFailures.h"
#include "xml/GivenList.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk {

struct GivenLists {
  GivenList attributes;
  GivenList paths;
};

struct AttributeEdit {
  const GivenListFailures* attributes;  // null when the operation takes none
  const GivenListFailures* paths;       // likewise
  const Failure* noList;                // of the message
  bool makesList;
  // Where the entries at hand say that the edit is to be made: a path from the message's list.
  // Without it, the list itself.
  void (*address)(const GivenLists& given, std::string& path);
  const Failure* noAddress;  // null when such an entry is passed over
  DomResult (*edit)(DomDocument& message, DomNode place, DomNode attribute);
  int resultWithoutEdit;
};

namespace {

constexpr std::string_view kAttributeList = "//Attribute_List";
constexpr std::string_view kPathList = "//Path_List";

void ByName(const GivenLists& given, std::string& path) { given.attributes.ReadName(path); }
void AtPath(const GivenLists& given, std::string& path) { given.paths.ReadText(path); }

DomResult AppendTo(DomDocument& message, DomNode place, DomNode attribute) {
  return message.AppendChild(place, attribute);
}
DomResult TakeAway(DomDocument& message, DomNode place, DomNode /*attribute*/) {
  return message.Remove(place);
}
DomResult PutInPlace(DomDocument& message, DomNode place, DomNode attribute) {
  return message.Replace(place, attribute);
}

namespace f = failures;

enum Operation : std::size_t {
  kAdd,
  kAddAtPaths,
  kDelete,
  kDeleteAtPaths,
  kUpdate,
  kUpdateAtPaths,
  kOperations
};

constexpr std::array<AttributeEdit, kOperations> kEdits = {{
    {&f::kAddAttributes, nullptr, &f::kAddData, true, nullptr, nullptr, AppendTo, 0},
    {&f::kAddAttributes, &f::kAddPaths, &f::kAddData, true, AtPath, &f::kAddEmptyPath, AppendTo, 0},
    {&f::kDelete, nullptr, &f::kDeleteNoList, false, ByName, nullptr, TakeAway, -1},
    {nullptr, &f::kDelete, &f::kDeleteNoList, false, AtPath, nullptr, TakeAway, -1},
    {&f::kUpdate, nullptr, &f::kUpdateNoList, false, ByName, nullptr, PutInPlace, -1},
    {&f::kUpdate, &f::kUpdatePaths, &f::kUpdateNoList, false, AtPath, nullptr, PutInPlace, -1},
}};

// Reads what an operation is given; the failure when there is nothing to work with.
const Failure* Read(const Codec& codec, const AttributeEdit& edit, std::string_view attributes,
                    std::string_view paths, GivenLists& given) {
  const Failure* failure = nullptr;
  if (edit.attributes != nullptr)
    failure = given.attributes.Open(codec, attributes, kAttributeList, *edit.attributes);
  if (failure == nullptr && edit.paths != nullptr)
    failure = given.paths.Open(codec, paths, kPathList, *edit.paths);
  return failure;
}

}  // namespace

int TLK_XMLBuilder::AddAttributes(std::string_view attributes) {
  return EditAttributes(kEdits[kAdd], attributes, {});
}

int TLK_XMLBuilder::AddAttributesAtPaths(std::string_view attributes, std::string_view paths) {
  return EditAttributes(kEdits[kAddAtPaths], attributes, paths);
}

int TLK_XMLBuilder::DeleteAttributes(std::string_view attributes) {
  return EditAttributes(kEdits[kDelete], attributes, {});
}

int TLK_XMLBuilder::DeleteAttributesAtPaths(std::string_view paths) {
  return EditAttributes(kEdits[kDeleteAtPaths], {}, paths);
}

int TLK_XMLBuilder::UpdateAttributes(std::string_view attributes) {
  return EditAttributes(kEdits[kUpdate], attributes, {});
}

int TLK_XMLBuilder::UpdateAttributesAtPaths(std::string_view attributes, std::string_view paths) {
  return EditAttributes(kEdits[kUpdateAtPaths], attributes, paths);
}

int TLK_XMLBuilder::EditAttributes(const AttributeEdit& edit, std::string_view attributes,
                                   std::string_view paths) {
  if (!HasDocument()) return -1;
  GivenLists given;
  if (const Failure* const failure = Read(m_codec, edit, attributes, paths, given)) {
    Report(*failure);
    return -1;
  }
  const DomNode list = FindAttributeList(edit);
  return list == nullptr ? -1 : WalkAttributes(edit, given, list);
}

DomNode TLK_XMLBuilder::FindAttributeList(const AttributeEdit& edit) {
  if (edit.makesList) return FindOrMakeList(kAttributeList, *edit.noList);
  DomNode list = nullptr;
  if (SelectSingleNode(kAttributeList, list) != kDomOk) Report(*edit.noList);
  return list;
}

// The list is found once and the walk goes on with it, whatever an edit does to it.
int TLK_XMLBuilder::WalkAttributes(const AttributeEdit& edit, GivenLists& given, DomNode list) {
  int result = edit.resultWithoutEdit;
  std::string path;
  while (given.paths.Step() && given.attributes.Step()) {
    DomNode place = list;
    if (edit.address != nullptr) {
      edit.address(given, path);
      if (path.empty() && edit.noAddress != nullptr) {
        Report(*edit.noAddress);
        return -1;
      }
      if (path.empty() || m_document->SelectNode(list, path, place) != kDomOk) continue;
    }
    m_isStamped = false;
    if (edit.edit(*m_document, place, given.attributes.Entry()) == kDomOk) result = 0;
  }
  return result;
}

}  // namespace tlk
