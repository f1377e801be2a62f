#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "xml/Codec.h"
#include "xml/Dom.h"
#include "xml/Failures.h"

namespace tlk {

struct AttributeEdit;
struct GivenLists;
struct PayloadList;

/// Builds a message document: the envelope
///
///     <TLK_Message Length="0000123" xmlns="" Type="..."><From Id="7"/><To
///     Id="0"/><Data>...</Data></...>
///
/// then its payload, its length stamp and its text.
///
/// Text is narrow, in the ANSI code page. Results are 0 for success and -1 for failure unless said
/// otherwise. A failure is shown on standard output and recorded in the codec's log. Belongs to one
/// thread at a time; nothing throws.
class TLKC2_API TLK_XMLBuilder {
 public:
  /// Without a document.
  explicit TLK_XMLBuilder(const Codec& codec);
  /// From text; without a document when the text cannot be parsed, which is then reported.
  TLK_XMLBuilder(const Codec& codec, std::string_view source);
  ~TLK_XMLBuilder();

  TLK_XMLBuilder(const TLK_XMLBuilder&) = delete;
  TLK_XMLBuilder& operator=(const TLK_XMLBuilder&) = delete;

  /// Replaces the document by that of a text. Text that is not well-formed gives 0 all the same,
  /// and a document that holds nothing.
  int LoadXml(std::string_view source);

  /// Replaces the document by a fresh envelope.
  int CreateMessage(std::string_view type, std::int32_t sender, std::int32_t receiver);

  /// The same with a status reply in it. Only the envelope decides on the result: it is 0 also when
  /// the status could not be added.
  int CreateMessage(std::string_view type, std::int32_t sender, std::int32_t receiver,
                    std::int32_t status, std::string_view description);

  /// Serialises the document. The text ends before its first zero byte.
  int GetXml(std::string& xml);

  /// Measures the serialised document in bytes and stamps the number, seven digits with leading
  /// zeros, into the root's `Length`. The placeholder is as wide, so the stamp does not change the
  /// length. A document that needs more digits is stamped with them and then no longer fits its
  /// stamp. One that was loaded with a stamp of another width, or none, fits its stamp only after a
  /// second call, which measures it with the first one in it.
  int SetLength();

  /// The text of the first node that `path` selects; -1 when nothing is selected, -2 when the node
  /// gives no text. A path that the DOM cannot answer rightly selects nothing, here and in all
  /// other operations, and is reported.
  int GetNodeText(std::string_view path, std::string& text);

  /// Sets an attribute of the first node that `path` selects; -1, reported, for a node that has
  /// none and for a name that cannot be set. A name may have a prefix that is bound at the element.
  /// A declaration that is set, `xmlns`, does not change the names of elements that are there.
  int SetNodeAttribute(std::string_view path, std::string_view name, std::string_view value);

  /// Makes sure that there is a `Data` element, as the root's last child if none stands anywhere
  /// yet.
  int EnsureDataElement();

  /// Appends a payload, one well-formed element, as the last child of `Data`. A payload that is not
  /// well-formed is reported and left out, with result 0.
  int AppendData(std::string_view payload);

  /// Appends a `Status` to `Data`, which is made if need be:
  ///
  ///     <Status><Value>3</Value><Description>Line busy</Description></Status>
  ///
  /// This and the two list operations give -1 only without a document; any other failure is
  /// reported, leaves what was appended before it, and gives 0.
  int AddStatus(std::string_view value, std::string_view description);

  /// Appends an entry to the `Conference_List` under `Data`; the list is made for its first entry,
  /// but `Data` must be there. The unit of the time is the caller's. `EllapsedTime` is how the wire
  /// spells it:
  ///
  ///     <Conference Name="a" ParticipantCount="2" Creator="b" EllapsedTime="60"/>
  int AddConferenceList(std::string_view name, std::int32_t participantCount,
                        std::string_view creator, std::uint32_t elapsedTime);

  /// The same for the `Participant_List`. The arguments name the leader before the creator, the
  /// wire the creator before the leader. The flags are true when they are not 0; `unused` is not
  /// read:
  ///
  ///     <Participant Name="a" Creator="FALSE" Leader="TRUE" Queue_Index="-1"/>
  int AddParticipantList(std::string_view name, std::int32_t isLeader, std::int32_t isCreator,
                         std::int32_t queueIndex, std::string_view unused);

  /// The attribute list of a message is the element `Attribute_List`; the elements in it are the
  /// attributes, named by their element names. These operations edit it from lists that are given
  /// as documents:
  ///
  ///     <Attribute_List><Colour>red</Colour><Size unit="cm">3</Size></Attribute_List>
  ///     <Path_List><Path>Colour</Path><Path>Size/@unit/..</Path></Path_List>
  ///
  /// The list is looked for anywhere in the given text and in the message. A path is an XPath
  /// expression that starts from the message's `Attribute_List`; one that selects nothing, or is
  /// malformed, is passed over. With paths, the first attribute goes with the first path and so on,
  /// and what is left over in the longer list is ignored. Prefixes of names do not count.
  ///
  /// A list that is missing or empty is reported and gives -1. Entries that were handled before a
  /// failure stay.

  /// Appends every attribute to the message's list, which is made if need be under `Data`, which
  /// must be there. An attribute that is there already is there twice then.
  int AddAttributes(std::string_view attributes);
  /// Appends each attribute to what its path selects. A path that is empty ends it with -1.
  int AddAttributesAtPaths(std::string_view attributes, std::string_view paths);

  /// Removes, for each attribute given, the first in the message's list of the same name; what else
  /// the given one holds does not count. 0 when at least one was removed, else -1.
  int DeleteAttributes(std::string_view attributes);
  /// Removes what the paths select, likewise.
  int DeleteAttributesAtPaths(std::string_view paths);

  /// Puts each attribute given in the place of the first in the message's list of the same name. 0
  /// when at least one was replaced, else -1.
  int UpdateAttributes(std::string_view attributes);
  /// Puts each attribute in the place of what its path selects, likewise.
  int UpdateAttributesAtPaths(std::string_view attributes, std::string_view paths);

  /// Whether there is a document.
  [[nodiscard]] bool HasDocument() const { return m_document != nullptr; }

  /// Whether the envelope, its payload, stamp or text lacks something because memory ran out, and
  /// not because of what was asked for. `CreateMessage` and `LoadXml` begin anew.
  [[nodiscard]] bool LacksMemory() const { return m_lacksMemory; }

 private:
  // The envelope
  [[nodiscard]] bool Begin();
  int Clear();
  bool AddElement(DomNode parent, std::string_view name, std::span<const DomAttribute> attributes,
                  const Failure& failure, DomNode& element);
  bool IsMade(DomNode& element, const Failure& failure, DomResult result);
  DomResult Noted(DomResult result);
  bool BuildEnvelope(std::string_view type, std::int32_t sender, std::int32_t receiver);
  bool AddParty(DomNode root, std::string_view name, std::int32_t id, const Failure& failure);
  void AppendDataElement(DomNode root);
  int Serialise(std::string& xml);

  // Payloads
  bool AppendInPlace(DomNode data, std::string_view payload);
  void AppendFromDocument(DomNode data, std::string_view payload);
  int AddToList(const PayloadList& kind, std::span<const DomAttribute> attributes);
  DomNode AddPart(DomNode parent, std::string_view name, const Failure& failure,
                  std::span<const DomAttribute> attributes = {});
  bool AddText(DomNode parent, std::string_view name, std::string_view text,
               const Failure& failure);

  // Attribute lists
  int EditAttributes(const AttributeEdit& edit, std::string_view attributes,
                     std::string_view paths);
  DomNode FindAttributeList(const AttributeEdit& edit);
  int WalkAttributes(const AttributeEdit& edit, GivenLists& given, DomNode list);

  // Shared by all of them
  int CreateElement(std::string_view name, DomNode& element);
  DomResult SetAttribute(DomNode element, std::string_view name, std::string_view value);
  void Append(DomNode parent, DomNode child);
  bool FindRoot(DomNode& root, const Failure& failure);
  DomResult SelectSingleNode(std::string_view path, DomNode& node);
  DomResult Selected(std::string_view path, DomResult result);
  DomResult FindOrMakeData(DomNode& data);
  DomNode FindOrMakeList(std::string_view path, const Failure& noData);
  void Report(const Failure& failure, DomResult code = kDomOk) const;

  Codec m_codec;
  std::unique_ptr<DomDocument> m_document;

  // The serialised document with its stamp in it, as `SetLength` leaves it for `GetXml`; good for
  // as long as nothing else changes the document.
  std::string m_stampedText;
  bool m_isStamped = false;
  bool m_lacksMemory = false;
};

}  // namespace tlk
