#pragma once

#include <msxml2.h>

#include <deque>
#include <string>
#include <string_view>
#include <utility>

#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "platform/windows/Variant.h"
#include "xml/Dom.h"
#include "xml/msxml/MsxmlNamespaces.h"

namespace tlk {

class AnsiText;
class MsxmlDocument;

/// What a handle points to: a node, held for as long as its document does not forget it. Not every
/// version of this DOM gives the same node the same address, so none says which node it is.
struct MsxmlNode {
  ComPtr<IXMLDOMNode> node;
  MsxmlDocument* document;
  const MsxmlNode* parent;  // null when it was not come by from there
};

/// A document held by MSXML 3.0. What reads it lies in one source file, what changes it in another.
class MsxmlDocument : public DomDocument {
 public:
  MsxmlDocument(const AnsiText& codePage, ComPtr<IXMLDOMDocument2> document)
      : m_codePage(codePage), m_document(std::move(document)) {}

  DomResult SetAsync(bool on) override;
  DomResult SetValidateOnParse(bool on) override;
  DomResult SetResolveExternals(bool on) override;
  DomResult SelectXPath() override;

  DomResult LoadXml(std::string_view text, bool& loaded) override;
  DomResult ParseErrorReason(std::string& reason) override;
  void ForgetNodes() override;
  DomResult CreateElement(std::string_view name, DomNode& element) override;
  DomResult SetDocumentElement(DomNode& element) override;
  DomResult DocumentElement(DomNode& element) override;
  DomResult AppendChild(DomNode parent, DomNode& child) override;
  DomResult Remove(DomNode node, DomNode& kept) override;
  DomResult Replace(DomNode node, DomNode replacement, DomNode& kept) override;
  DomResult FirstChild(DomNode node, DomNode& child) override;
  DomResult NextSibling(DomNode node, DomNode& sibling) override;
  DomResult BaseName(DomNode node, std::string& name) override;
  DomResult AsElement(DomNode node, DomNode& element) override;
  DomResult SetAttribute(DomNode element, std::string_view name, std::string_view value) override;
  DomResult Attribute(DomNode element, std::string_view name, std::string& value) override;
  DomResult SetText(DomNode element, std::string_view text) override;
  DomResult SelectNode(DomNode context, std::string_view path, DomNode& node) override;
  DomResult Text(DomNode node, std::string& text) override;
  DomResult Xml(DomNode node, std::string& xml) override;

 private:
  using Document = ComPtr<IXMLDOMDocument2>;
  using Node = ComPtr<IXMLDOMNode>;
  using Element = ComPtr<IXMLDOMElement>;

  Bstr Wide(std::string_view narrow);
  Bstr Value(std::string_view narrow);
  void Narrow(std::u16string_view wide, std::string& narrow) const;
  DomResult Hold(HRESULT result, Node node, DomNode& handle, const MsxmlNode* parent = nullptr);
  DomResult HoldFirstSeen(HRESULT result, Node node, DomNode& handle, const MsxmlNode* parent);
  const Declarations& DeclaredAbove(const MsxmlNode& node);
  HRESULT Serialise(DomNode handle);
  DomResult OwnDeclaration(IXMLDOMElement* element, std::u16string_view name, std::string& value);
  DomResult Bring(DomNode child, DomNode& brought);
  DomResult SetPrefixedAttribute(IXMLDOMElement* element, const Bstr& name, const Variant& value);
  DomResult MakeAttribute(std::u16string_view text, const Bstr& name, Node& attribute);

  const AnsiText& m_codePage;
  Document m_document;
  std::deque<MsxmlNode> m_nodes;  // whatever a handle was given for
  // What is declared above the children of one of them, for edits that walk over these.
  Declarations m_declarations;
  const MsxmlNode* m_declarationsOver = nullptr;
  bool m_namesXml = false;  // whether a name in it may have the prefix `xml`
  std::u16string m_wide;    // scratch space
};

/// The node of a handle, or none.
[[nodiscard]] inline const MsxmlNode* HeldNode(DomNode handle) {
  return reinterpret_cast<const MsxmlNode*>(handle);
}
[[nodiscard]] inline IXMLDOMNode* NodeOf(DomNode handle) {
  return handle == nullptr ? nullptr : HeldNode(handle)->node.Get();
}

/// The element of a handle; none when it is no element.
[[nodiscard]] inline ComPtr<IXMLDOMElement> ElementOf(DomNode handle) {
  return AsElement(NodeOf(handle));
}

[[nodiscard]] inline DomResult ResultOf(HRESULT result) { return static_cast<DomResult>(result); }

/// Makes an empty document.
[[nodiscard]] DomResult MakeDocument(ComPtr<IXMLDOMDocument2>& document);

/// The document element of a text, which is one of ours, in a document of its own. May throw for
/// want of memory.
[[nodiscard]] DomResult ReadElement(std::u16string_view text, ComPtr<IXMLDOMElement>& element);

}  // namespace tlk
