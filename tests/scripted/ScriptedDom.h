#pragma once

#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/scripted/NthCall.h"
#include "xml/Dom.h"

namespace tlk {

/// What a scripted DOM does, and what was asked of it.
class DomScript {
 public:
  /// From now on, lets every call whose beginning `which` matches give `result` and do
  /// nothing else.
  void Fail(const char* which, DomResult result) {
    m_failing = std::regex(which);
    m_result = result;
  }

  /// Of all calls; the one that is to fail gives `kDomFailed`.
  test::NthCall anyCall;

  /// Every call that went through, in order: its name and what was asked.
  std::vector<std::string> calls;

  template <typename Real>
  DomResult Meet(const std::string& call, Real real) {
    const bool fails =
        m_failing && std::regex_search(call, *m_failing, std::regex_constants::match_continuous);
    if (fails) return m_result;
    if (anyCall.IsThis()) return kDomFailed;
    calls.push_back(call);
    return real();
  }

 private:
  std::optional<std::regex> m_failing;
  DomResult m_result = kDomOk;
};

/// A document of a real DOM whose calls can be made to fail.
class ScriptedDomDocument final : public DomDocument {
 public:
  ScriptedDomDocument(DomScript& script, std::unique_ptr<DomDocument> real)
      : m_script(script), m_real(std::move(real)) {}

  DomResult SetAsync(bool on) override {
    return m_script.Meet(on ? "async on" : "async off", [&] { return m_real->SetAsync(on); });
  }
  DomResult SetValidateOnParse(bool on) override {
    return m_script.Meet(on ? "validate on" : "validate off",
                         [&] { return m_real->SetValidateOnParse(on); });
  }
  DomResult SetResolveExternals(bool on) override {
    return m_script.Meet(on ? "resolve on" : "resolve off",
                         [&] { return m_real->SetResolveExternals(on); });
  }
  DomResult SelectXPath() override {
    return m_script.Meet("xpath", [&] { return m_real->SelectXPath(); });
  }
  DomResult LoadXml(std::string_view text, bool& loaded) override {
    return m_script.Meet("load", [&] { return m_real->LoadXml(text, loaded); });
  }
  DomResult ParseErrorReason(std::string& reason) override {
    return m_script.Meet("reason", [&] {
      reason = "bad";
      return kDomOk;
    });
  }
  void ForgetNodes() override { m_real->ForgetNodes(); }
  DomResult CreateElement(std::string_view name, DomNode& element) override {
    return m_script.Meet("create " + std::string(name),
                         [&] { return m_real->CreateElement(name, element); });
  }
  DomResult SetDocumentElement(DomNode& element) override {
    return m_script.Meet("root", [&] { return m_real->SetDocumentElement(element); });
  }
  DomResult DocumentElement(DomNode& element) override {
    return m_script.Meet("get root", [&] { return m_real->DocumentElement(element); });
  }
  DomResult AppendChild(DomNode parent, DomNode& child) override {
    return m_script.Meet("append", [&] { return m_real->AppendChild(parent, child); });
  }
  bool ReadsInPlace() const override { return m_real->ReadsInPlace(); }
  DomResult ReadInto(DomNode parent, std::string_view text) override {
    return m_script.Meet("read into", [&] { return m_real->ReadInto(parent, text); });
  }
  DomResult Remove(DomNode node, DomNode& kept) override {
    return m_script.Meet("remove", [&] { return m_real->Remove(node, kept); });
  }
  DomResult Replace(DomNode node, DomNode replacement, DomNode& kept) override {
    return m_script.Meet("replace", [&] { return m_real->Replace(node, replacement, kept); });
  }
  DomResult FirstChild(DomNode node, DomNode& child) override {
    return m_script.Meet("child", [&] { return m_real->FirstChild(node, child); });
  }
  DomResult NextSibling(DomNode node, DomNode& sibling) override {
    return m_script.Meet("sibling", [&] { return m_real->NextSibling(node, sibling); });
  }
  DomResult BaseName(DomNode node, std::string& name) override {
    return m_script.Meet("base name", [&] { return m_real->BaseName(node, name); });
  }
  DomResult AsElement(DomNode node, DomNode& element) override {
    return m_script.Meet("element", [&] { return m_real->AsElement(node, element); });
  }
  DomResult SetAttribute(DomNode element, std::string_view name, std::string_view value) override {
    return m_script.Meet("set " + std::string(name) + "=" + std::string(value),
                         [&] { return m_real->SetAttribute(element, name, value); });
  }
  DomResult Attribute(DomNode element, std::string_view name, std::string& value) override {
    return m_script.Meet("attribute " + std::string(name),
                         [&] { return m_real->Attribute(element, name, value); });
  }
  DomResult SetText(DomNode element, std::string_view text) override {
    return m_script.Meet("set text " + std::string(text),
                         [&] { return m_real->SetText(element, text); });
  }
  DomResult SelectNode(DomNode context, std::string_view path, DomNode& node) override {
    return m_script.Meet("select", [&] { return m_real->SelectNode(context, path, node); });
  }
  DomResult Text(DomNode node, std::string& text) override {
    return m_script.Meet("text", [&] { return m_real->Text(node, text); });
  }
  DomResult Xml(DomNode node, std::string& xml) override {
    return m_script.Meet("xml", [&] { return m_real->Xml(node, xml); });
  }

 private:
  DomScript& m_script;
  std::unique_ptr<DomDocument> m_real;
};

/// Makes such documents out of those of a real DOM, all under one script.
class ScriptedDomFactory final : public DomFactory {
 public:
  explicit ScriptedDomFactory(DomFactory& real) : m_real(real) {}

  DomScript script;

  DomResult NewDocument(std::unique_ptr<DomDocument>& document) override {
    std::unique_ptr<DomDocument> real;
    const DomResult result = script.Meet("new", [&] { return m_real.NewDocument(real); });
    if (real) document = std::make_unique<ScriptedDomDocument>(script, std::move(real));
    return result;
  }

 private:
  DomFactory& m_real;
};

}  // namespace tlk
