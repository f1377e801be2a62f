#pragma once

#include <msxml2.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "xml/Dom.h"

namespace tlk {

class AnsiText;

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
  DomResult CreateElement(std::string_view name, DomNode& element) override;
  DomResult SetDocumentElement(DomNode element) override;
  DomResult DocumentElement(DomNode& element) override;
  DomResult AppendChild(DomNode parent, DomNode child) override;
  DomResult Remove(DomNode node) override;
  DomResult Replace(DomNode node, DomNode replacement) override;
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
  bool Name(std::string_view narrow, Bstr& name);
  void Narrow(std::u16string_view wide, std::string& narrow) const;
  DomResult Hold(HRESULT result, Node node, DomNode& handle);
  [[nodiscard]] bool Holds(DomNode handle) const;
  bool IsAtOrAbove(DomNode node, DomNode place);
  bool MayReplace(IXMLDOMNode* parent, IXMLDOMNode* old, IXMLDOMNode* fresh);
  DomResult HoldFirstSeen(HRESULT result, Node node, DomNode& handle);
  DomResult Bring(DomNode child, Node& brought);
  HRESULT Serialise(IXMLDOMNode* node);

  const AnsiText& m_codePage;
  Document m_document;
  std::vector<Node> m_nodes;  // whatever a handle was given for
  std::u16string m_wide;      // scratch space
};

}  // namespace tlk
