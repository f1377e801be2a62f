// The operations on the attribute list of a message. They differ in what their rows say; one walk
// serves them all.

#include <array>
#include <cstddef>

#include <optional>

#include "xml/BuilderFailures.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {

/// A list that an operation is given as a document, read entry by entry. Until it is opened it is
/// not given, and has entries without end that say nothing.
class GivenList {
 public:
  /// Reads the document and goes in front of the first entry of the list that `path` selects. The
  /// failure when there is no list or no entry in it, else null. A document that cannot be read has
  /// no list; its reader reports that.
  [[nodiscard]] const Failure* Open(const Codec& codec, std::string_view text,
                                    std::string_view path, const GivenListFailures& failures) {
    m_parser.emplace(codec, text);
    DomNode list = nullptr;
    if (m_parser->SelectSingleNode(path, list) != kDomOk) return &failures.noList;
    const bool hasEntry = Noted(m_parser->Document()->FirstChild(list, m_next)) == kDomOk;
    return hasEntry ? nullptr : &failures.noEntries;
  }

  /// Steps to the next entry; false behind the last. The one after it has been read by then, so
  /// that an entry may be moved away.
  [[nodiscard]] bool Step() {
    if (!m_parser) return true;
    m_entry = m_next;
    if (m_entry == nullptr) return false;
    if (Noted(m_parser->Document()->NextSibling(m_entry, m_next)) != kDomOk) m_next = nullptr;
    return true;
  }

  /// The entry stepped to.
  [[nodiscard]] DomNode Entry() const { return m_entry; }

  /// Its name without prefix; empty when it is no element.
  void ReadName(std::string& name) {
    if (Noted(m_parser->Document()->BaseName(m_entry, name)) != kDomOk) name.clear();
  }

  /// Its text; empty when that is white space alone, which not every DOM keeps.
  void ReadText(std::string& text) {
    const bool hasText = Noted(m_parser->Document()->Text(m_entry, text)) == kDomOk;
    if (!hasText || text.find_first_not_of(" \t\r\n") == std::string::npos) text.clear();
  }

  /// Whether something of it was not read for lack of memory.
  [[nodiscard]] bool LacksMemory() const {
    return m_lacksMemory || (m_parser && m_parser->LacksMemory());
  }

 private:
  DomResult Noted(DomResult result) {
    m_lacksMemory = m_lacksMemory || result == kDomOutOfMemory;
    return result;
  }

  std::optional<TLK_XMLParser> m_parser;
  DomNode m_entry = nullptr;
  DomNode m_next = nullptr;
  bool m_lacksMemory = false;
};

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
  void (*address)(GivenLists& given, std::string& path);
  const Failure* noAddress;  // null when such an entry is passed over
  // Edits the message at a place, which may be the list that the walk goes on with, or above it.
  DomResult (*edit)(DomDocument& message, DomNode place, DomNode attribute, DomNode& list);
  int resultWithoutEdit;
};

namespace {

constexpr std::string_view kAttributeList = "//Attribute_List";
constexpr std::string_view kPathList = "//Path_List";

void ByName(GivenLists& given, std::string& path) { given.attributes.ReadName(path); }
void AtPath(GivenLists& given, std::string& path) { given.paths.ReadText(path); }

DomResult AppendTo(DomDocument& message, DomNode place, DomNode attribute, DomNode& /*list*/) {
  return message.AppendChild(place, attribute);
}
DomResult TakeAway(DomDocument& message, DomNode place, DomNode /*attribute*/, DomNode& list) {
  return message.Remove(place, list);
}
DomResult PutInPlace(DomDocument& message, DomNode place, DomNode attribute, DomNode& list) {
  return message.Replace(place, attribute, list);
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
  if (!Begin()) return -1;
  GivenLists given;
  int result = -1;
  if (const Failure* const failure = Read(m_codec, edit, attributes, paths, given)) {
    Report(*failure);
  } else if (const DomNode list = FindAttributeList(edit)) {
    result = WalkAttributes(edit, given, list);
  }
  m_lacksMemory = m_lacksMemory || given.attributes.LacksMemory() || given.paths.LacksMemory();
  return result;
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
      if (path.empty() || Selected(path, m_document->SelectNode(list, path, place)) != kDomOk)
        continue;
    }
    m_isStamped = false;
    if (Noted(edit.edit(*m_document, place, given.attributes.Entry(), list)) == kDomOk) result = 0;
  }
  return result;
}

}  // namespace tlk
