#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "xml/Codec.h"
#include "xml/Dom.h"
#include "xml/Failures.h"

namespace tlk {

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
class TLK_XMLBuilder {
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

  /// Serialises the document. The text ends before its first zero byte.
  int GetXml(std::string& xml);

  /// Measures the serialised document in bytes and stamps the number, seven digits with leading
  /// zeros, into the root's `Length`. The placeholder is as wide, so the stamp does not change the
  /// length. A document that needs more digits is stamped with them and then no longer fits its
  /// stamp.
  int SetLength();

  /// The text of the first node that `path` selects; -1 when nothing is selected, -2 when the node
  /// gives no text.
  int GetNodeText(std::string_view path, std::string& text);

  /// Sets an attribute of the first node that `path` selects.
  int SetNodeAttribute(std::string_view path, std::string_view name, std::string_view value);

  /// Makes sure that there is a `Data` element, as the root's last child if none stands anywhere
  /// yet.
  int EnsureDataElement();

  /// Appends a payload, one well-formed element, as the last child of `Data`. A payload that is not
  /// well-formed is reported and left out, with result 0.
  int AppendData(std::string_view payload);

  [[nodiscard]] bool HasDocument() const { return m_document != nullptr; }

 private:
  void Replace(std::unique_ptr<DomDocument> document);
  bool NewElement(std::string_view name, const Failure& failure, DomNode& element);
  bool BuildEnvelope(std::string_view type, std::int32_t sender, std::int32_t receiver);
  bool AddParty(DomNode root, std::string_view name, std::int32_t id, const Failure& failure);
  int CreateElement(std::string_view name, DomNode& element);
  int SetAttribute(DomNode element, std::string_view name, std::string_view value);
  void Append(DomNode parent, DomNode child);
  DomResult SelectSingleNode(std::string_view path, DomNode& node);
  int Serialise(std::string& xml) const;

  Codec m_codec;
  std::unique_ptr<DomDocument> m_document;

  // The serialised document with its stamp in it, as `SetLength` leaves it for `GetXml`; good for
  // as long as nothing else changes the document.
  std::string m_stampedText;
  bool m_isStamped = false;
};

}  // namespace tlk
