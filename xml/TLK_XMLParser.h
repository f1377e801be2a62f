#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "xml/Codec.h"
#include "xml/Dom.h"

namespace tlk {

/// Reads a message document.
///
/// Text is narrow, in the ANSI code page. Results are 0 for success, -1 when the document, its root
/// or the node could not be had, and -2 when they are there but the asked-for attribute, node or
/// text is not; out values are then left alone. A failure is shown on standard output and recorded
/// in the codec's log. Belongs to one thread; nothing throws.
class TLKC2_API TLK_XMLParser {
 public:
  /// From text; without a document when the text cannot be parsed, which is then reported.
  TLK_XMLParser(const Codec& codec, std::string_view source);
  ~TLK_XMLParser();

  TLK_XMLParser(const TLK_XMLParser&) = delete;
  TLK_XMLParser& operator=(const TLK_XMLParser&) = delete;

  /// Whether there is a document.
  [[nodiscard]] bool HasDocument() const { return m_document != nullptr; }

  /// Whether an answer, or the document, is missing for lack of memory: it may be there.
  [[nodiscard]] bool LacksMemory() const { return m_lacksMemory; }

  /// Replaces the document by that of a text. Text that is not well-formed gives 0 all the same,
  /// and a document that holds nothing.
  int LoadXml(std::string_view source);

  /// The root element, owned by this parser; null when there is none. The result is -1 for plain
  /// success and 0 for anything else the DOM answers: look at the element, never at the result.
  int GetRootElement(DomNode& root);

  /// The root's `Type`.
  int GetType(std::string& type);

  /// The `Id` of the root's `To` child, read as far as it is a decimal number: 12abc is 12, an
  /// empty `Id` is 0.
  int GetReceiverId(std::int32_t& id);

  /// The serialised `Data` child of the root, its own tags included. 0 whatever came of it.
  int GetData(std::string& data);

  /// The first node that `path` selects from the root: its text, or the serialised node.
  int GetNode(std::string_view path, std::string& out, bool textOnly);

  /// The serialised text of a node of this parser.
  int GetNodeXml(DomNode node, std::string& xml);

  /// An attribute of an element of this parser.
  int GetAttribute(DomNode element, std::string_view name, std::string& value);

  /// An attribute of the first node that `path` selects from the document.
  int GetNodeAttribute(std::string_view path, std::string_view name, std::string& value);

  /// The first node that `path` selects from the document, owned by this parser; the result is the
  /// DOM's.
  DomResult SelectSingleNode(std::string_view path, DomNode& node);

  /// The document, for what is not offered here; null without one.
  [[nodiscard]] DomDocument* Document() const { return m_document.get(); }

 private:
  bool FindRoot(DomNode& root) const;
  bool IsGiven(DomResult result);

  Codec m_codec;
  bool m_lacksMemory = false;
  std::unique_ptr<DomDocument> m_document;
};

}  // namespace tlk
