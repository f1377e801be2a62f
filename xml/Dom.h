#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace tlk {

/// Result of a DOM operation, in the manner of the system's component model: 0 is plain success, a
/// positive number success without a result (nothing matched, there is no such thing), a negative
/// number failure.
/// @{
using DomResult = std::int32_t;
inline constexpr DomResult kDomOk = 0;
inline constexpr DomResult kDomNothing = 1;
/// A path that is an expression, but one that this DOM would answer wrongly.
inline constexpr DomResult kDomNotImplemented = static_cast<DomResult>(0x80004001);
inline constexpr DomResult kDomNoInterface = static_cast<DomResult>(0x80004002);
inline constexpr DomResult kDomFailed = static_cast<DomResult>(0x80004005);
inline constexpr DomResult kDomOutOfMemory = static_cast<DomResult>(0x8007000E);
inline constexpr DomResult kDomBadArgument = static_cast<DomResult>(0x80070057);
/// @}

/// Whether a result is success, plain or without a result.
[[nodiscard]] constexpr bool Succeeded(DomResult result) { return result >= 0; }

struct DomNodeTag;
/// A node of a document; null for none. It owns nothing. It stays valid until its document forgets
/// its nodes, loads another text or is destroyed, or the node is removed.
using DomNode = DomNodeTag*;

/// A name and a value that an element is to have.
struct DomAttribute {
  std::string_view name;   ///< With its prefix, if it has one.
  std::string_view value;  ///< As it is meant; what needs it is escaped when it is written.
};

/// One XML document.
///
/// Text goes in and comes out as narrow text in the ANSI code page. Out strings are replaced on
/// plain success and left alone otherwise. A document belongs to one thread. Nothing throws.
///
/// What is serialised can be read back: markup in a value is escaped, and line breaks and tabs in
/// an attribute are written as character references. A value that is set ends before its first zero
/// byte; any other control character that XML cannot hold becomes "?" in it. What cannot be a name
/// is a bad argument.
///
/// The name of an element is settled when it is made: in no namespace if it is made here, else in
/// that which its text puts it in. No declaration that is set later changes it.
///
/// A path is an XPath 1.0 expression. A name without a prefix selects what lies in no namespace; a
/// prefix other than `xml` is bound to nothing and therefore an error. An expression that is not
/// well-formed, is absurdly long or deep, or gives no nodes by its kind, fails; so does, with a
/// result of its own, one that this DOM cannot answer rightly. Nothing bounds the time that one
/// takes which visits the document once more for each of its nodes.
class TLKC2_API DomDocument {
 public:
  virtual ~DomDocument() = default;

  /// Whether `LoadXml` returns before it is done, checks the text against a document type, and
  /// fetches what the text names elsewhere. Each is switched off before a text is loaded; a DOM
  /// that never does so says plain success.
  /// @{
  [[nodiscard]] virtual DomResult SetAsync(bool on) = 0;
  [[nodiscard]] virtual DomResult SetValidateOnParse(bool on) = 0;
  [[nodiscard]] virtual DomResult SetResolveExternals(bool on) = 0;
  /// @}

  /// Makes paths XPath; older documents speak another language until told so.
  virtual DomResult SelectXPath() = 0;

  /// Replaces the content by that of `text`. `loaded` tells whether the text could be parsed, which
  /// the result does not: text that is not well-formed gives plain success and false, and leaves
  /// the document empty. The text is read as characters of the code page, whatever its XML
  /// declaration says, and the declaration is not kept. Comments, processing instructions and CDATA
  /// sections are; white space alone between two tags need not be.
  [[nodiscard]] virtual DomResult LoadXml(std::string_view text, bool& loaded) = 0;
  /// Why the last text could not be parsed.
  [[nodiscard]] virtual DomResult ParseErrorReason(std::string& reason) = 0;

  /// The nodes that were asked for so far are no longer needed, here and in the documents that they
  /// were brought from.
  virtual void ForgetNodes() = 0;

  /// Makes an element that stands nowhere yet. A path does not see it. Its name has no prefix.
  [[nodiscard]] virtual DomResult CreateElement(std::string_view name, DomNode& element) = 0;
  /// Places an element as the root, where none stands. `element` becomes the node in its place.
  virtual DomResult SetDocumentElement(DomNode& element) = 0;
  /// The root element; nothing when the document is empty.
  [[nodiscard]] virtual DomResult DocumentElement(DomNode& element) = 0;

  /// Puts `child` behind the last child of `parent`. It is an element that stands nowhere yet, or a
  /// node of another document of the same factory. That one is brought over, with the namespaces of
  /// its names, and its old place keeps it or loses it, as the platform likes: read what follows it
  /// before, and leave its document as it is until nodes are forgotten. `child` becomes the node in
  /// its new place.
  virtual DomResult AppendChild(DomNode parent, DomNode& child) = 0;

  /// `CreateElement`, `SetAttribute` for each attribute, and `AppendChild` or, under null,
  /// `SetDocumentElement`, in one. The names of the attributes differ. The result is that of the
  /// first; the others do what they can, but one that lacks memory is the result.
  [[nodiscard]] virtual DomResult AddElement(DomNode parent, std::string_view name,
                                             std::span<const DomAttribute> attributes,
                                             DomNode& element);

  /// Whether `ReadInto` does anything: whether this DOM needs no other document to read a text.
  [[nodiscard]] virtual bool ReadsInPlace() const { return false; }

  /// Reads a text as `LoadXml` does and puts its root element behind the last child of `parent`.
  /// Whatever is not plain success, text that cannot be parsed included, leaves the document as it
  /// was.
  [[nodiscard]] virtual DomResult ReadInto(DomNode /*parent*/, std::string_view /*text*/) {
    return kDomNothing;
  }

  /// Takes a node from its parent; it is gone then, with what is in it. But if `kept` is among
  /// that, the caller goes on with it: what was taken out becomes a tree of its own, in which paths
  /// lead from `kept` to what is beside and in it, and `kept` becomes the node in there. It lasts
  /// until nodes are forgotten or another such tree is made. A node without a parent, as attributes
  /// and the document are, is a bad argument.
  [[nodiscard]] virtual DomResult Remove(DomNode node, DomNode& kept) = 0;

  /// Puts `replacement` in the place of a node, which is removed as by `Remove`. The replacement is
  /// brought over as a child is in `AppendChild`. At the top of a document, whatever would not
  /// leave one element there, or none, among comments and processing instructions fails. After a
  /// failure the node stays where it is.
  [[nodiscard]] virtual DomResult Replace(DomNode node, DomNode replacement, DomNode& kept) = 0;

  /// The first child of a node, and the node behind a node under the same parent; nothing when
  /// there is none, as with attributes. Text that is white space alone, outside CDATA sections, is
  /// passed over.
  /// @{
  [[nodiscard]] virtual DomResult FirstChild(DomNode node, DomNode& child) = 0;
  [[nodiscard]] virtual DomResult NextSibling(DomNode node, DomNode& sibling) = 0;
  /// @}

  /// The name of an element without its prefix; nothing for any other node.
  [[nodiscard]] virtual DomResult BaseName(DomNode node, std::string& name) = 0;

  /// The node as an element; `kDomNoInterface` when it is none.
  [[nodiscard]] virtual DomResult AsElement(DomNode node, DomNode& element) = 0;

  /// Sets an attribute. Its name may have a prefix that is bound at the element, as `xml` always
  /// is; any other is a bad argument. `xmlns` is shown and written, but settled names stay what
  /// they are: a declaration that one of them depends on cannot be given another value, nor can a
  /// reserved namespace be the value; both are bad arguments.
  virtual DomResult SetAttribute(DomNode element, std::string_view name,
                                 std::string_view value) = 0;
  /// An attribute's value; nothing when the element has none of that name.
  [[nodiscard]] virtual DomResult Attribute(DomNode element, std::string_view name,
                                            std::string& value) = 0;

  /// Replaces everything in an element by a text; an empty text leaves it empty. White space alone
  /// may be lost when the element is written and read.
  virtual DomResult SetText(DomNode element, std::string_view text) = 0;

  /// The first node, in document order, that `path` selects from `context`, which is no attribute;
  /// from the document itself when `context` is null.
  [[nodiscard]] virtual DomResult SelectNode(DomNode context, std::string_view path,
                                             DomNode& node) = 0;

  /// The text of a node and everything under it; white space around it may be left out.
  [[nodiscard]] virtual DomResult Text(DomNode node, std::string& text) = 0;

  /// The serialised node, or the serialised document when `node` is null. No XML declaration is
  /// added; line breaks and tabs may be, between two tags and behind the last. A character that the
  /// code page lacks becomes "?".
  [[nodiscard]] virtual DomResult Xml(DomNode node, std::string& xml) = 0;
};

inline DomResult DomDocument::AddElement(DomNode parent, std::string_view name,
                                         std::span<const DomAttribute> attributes,
                                         DomNode& element) {
  const DomResult result = CreateElement(name, element);
  if (!Succeeded(result) || element == nullptr) return result;
  bool lacksMemory = false;
  const auto note = [&](DomResult step) { lacksMemory = lacksMemory || step == kDomOutOfMemory; };
  for (const DomAttribute& attribute : attributes)
    note(SetAttribute(element, attribute.name, attribute.value));
  note(parent == nullptr ? SetDocumentElement(element) : AppendChild(parent, element));
  return lacksMemory ? kDomOutOfMemory : result;
}

/// Makes documents. It outlives them. Safe to call from any thread.
class TLKC2_API DomFactory {
 public:
  virtual ~DomFactory() = default;

  /// An empty document; null on failure.
  [[nodiscard]] virtual DomResult NewDocument(std::unique_ptr<DomDocument>& document) = 0;
};

}  // namespace tlk
