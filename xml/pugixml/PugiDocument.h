#pragma once

#include <memory>
#include <pugixml.hpp>
#include <span>
#include <string>

#include "xml/Dom.h"
#include "xml/pugixml/PugiStore.h"

namespace tlk {

/// Line ends are normalised before, everywhere alike. White space alone in an element is its text;
/// between elements it goes.
inline constexpr unsigned int kPugiParseOptions =
    pugi::parse_cdata | pugi::parse_comments | pugi::parse_escapes | pugi::parse_pi |
    pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single;

/// A document held by pugixml. What reads it lies in one source file, what changes it in another.
class PugiDocument : public DomDocument {
 public:
  PugiDocument(PugiStorePool& pool, std::unique_ptr<PugiStore> store)
      : m_pool(pool), m_store(std::move(store)) {}
  ~PugiDocument() override { m_pool.Return(std::move(m_store)); }

  PugiDocument(const PugiDocument&) = delete;
  PugiDocument& operator=(const PugiDocument&) = delete;

  // This DOM loads nothing in the background, validates nothing and has no other paths.
  DomResult SetAsync(bool /*on*/) override { return kDomOk; }
  DomResult SetValidateOnParse(bool /*on*/) override { return kDomOk; }
  DomResult SetResolveExternals(bool /*on*/) override { return kDomOk; }
  DomResult SelectXPath() override { return kDomOk; }

  DomResult LoadXml(std::string_view text, bool& loaded) override;
  DomResult ParseErrorReason(std::string& reason) override;
  void ForgetNodes() override;
  DomResult CreateElement(std::string_view name, DomNode& element) override;
  DomResult SetDocumentElement(DomNode& element) override;
  DomResult DocumentElement(DomNode& element) override;
  DomResult AppendChild(DomNode parent, DomNode& child) override;
  DomResult AddElement(DomNode parent, std::string_view name,
                       std::span<const DomAttribute> attributes, DomNode& element) override;
  [[nodiscard]] bool ReadsInPlace() const override { return true; }
  DomResult ReadInto(DomNode parent, std::string_view text) override;
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
  [[nodiscard]] pugi::xml_document& Tree() const { return m_store->tree; }
  void Clear();
  DomResult Parse(std::string_view text);
  [[nodiscard]] std::string_view ToSource(std::string_view text);
  bool TakeName(std::string_view name);
  bool TakeAttribute(const pugi::xml_node& element, const DomAttribute& attribute);
  bool TakeDefault(pugi::xml_node element, std::string_view value);
  bool TakePrefixed(const pugi::xml_node& element, std::string_view name);
  DomResult AppendAttribute(pugi::xml_node element, const DomAttribute& attribute);
  DomResult SetValue(pugi::xml_attribute attribute, std::string_view value);
  [[nodiscard]] bool IsOurs(const pugi::xml_node& node) const;
  [[nodiscard]] bool HasParent(const pugi::xml_node& node) const;
  [[nodiscard]] bool MayReplace(const pugi::xml_node& old, const pugi::xml_node& fresh) const;
  DomResult Place(pugi::xml_node parent, const pugi::xml_node& child, const pugi::xml_node& before,
                  pugi::xml_node& placed);
  void TakeOut(const pugi::xml_node& node, DomNode& kept);
  void WriteNode(DomNode node, std::string& utf8);

  PugiStorePool& m_pool;
  std::unique_ptr<PugiStore> m_store;
  const char* m_parseError = "";

  pugi::xml_node m_root;
};

}  // namespace tlk
