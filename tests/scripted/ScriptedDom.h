#pragma once

#include <algorithm>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/scripted/NthCall.h"
#include "xml/Dom.h"

namespace tlk {

/// What a scripted DOM does, and what was asked of it.
struct DomScript {
  /// Every call whose beginning this matches gives `failure` and does nothing else.
  std::regex failing{"none"};
  DomResult failure = kDomOk;

  /// Gives what is wanted of a call, else what it gives.
  DomResult Meet(const std::string& name, auto call) {
    if (std::regex_search(name, failing, std::regex_constants::match_continuous)) return failure;
    if (anyCall.IsThis()) return kDomFailed;
    calls.push_back(name);
    return call();
  }

  /// Of all calls; the one that is to fail gives `kDomFailed`.
  test::NthCall anyCall;

  /// Every call that went through, in order: its name and what was asked.
  std::vector<std::string> calls;

  /// What stands behind every text that is read.
  std::string tail;
};

/// A document of a real DOM whose calls can be made to fail.
class ScriptedDomDocument final : public DomDocument {
 public:
  ScriptedDomDocument(DomScript& script, std::unique_ptr<DomDocument> real)
      : m_script(script), m_real(std::move(real)) {}

  using Dom = DomDocument;
  using Name = std::string_view;

  DomResult SetAsync(bool on) override {
    return Ask(on ? "async on" : "async off", &Dom::SetAsync, on);
  }
  DomResult SetValidateOnParse(bool on) override {
    return Ask(on ? "validate on" : "validate off", &Dom::SetValidateOnParse, on);
  }
  DomResult SetResolveExternals(bool on) override {
    return Ask(on ? "resolve on" : "resolve off", &Dom::SetResolveExternals, on);
  }
  DomResult SelectXPath() override { return Ask("xpath", &Dom::SelectXPath); }
  DomResult LoadXml(Name text, bool& loaded) override {
    return Ask("load", &Dom::LoadXml, text, loaded);
  }
  DomResult ParseErrorReason(std::string& reason) override {
    const DomResult result = Ask("reason", &Dom::ParseErrorReason, reason);
    if (Succeeded(result)) reason = "bad";
    return std::min(result, kDomOk);
  }
  void ForgetNodes() override { m_real->ForgetNodes(); }
  DomResult CreateElement(Name name, DomNode& made) override {
    return Ask("create " + std::string(name), &Dom::CreateElement, name, made);
  }
  DomResult SetDocumentElement(DomNode& node) override {
    return Ask("root", &Dom::SetDocumentElement, node);
  }
  DomResult DocumentElement(DomNode& root) override {
    return Ask("get root", &Dom::DocumentElement, root);
  }
  DomResult AppendChild(DomNode node, DomNode& child) override {
    return Ask("append", &Dom::AppendChild, node, child);
  }
  bool ReadsInPlace() const override { return m_real->ReadsInPlace(); }
  DomResult ReadInto(DomNode node, Name text) override {
    return Ask("read into", &Dom::ReadInto, node, text);
  }
  DomResult Remove(DomNode node, DomNode& kept) override {
    return Ask("remove", &Dom::Remove, node, kept);
  }
  DomResult Replace(DomNode node, DomNode fresh, DomNode& kept) override {
    return Ask("replace", &Dom::Replace, node, fresh, kept);
  }
  DomResult FirstChild(DomNode node, DomNode& child) override {
    return Ask("child", &Dom::FirstChild, node, child);
  }
  DomResult NextSibling(DomNode node, DomNode& next) override {
    return Ask("sibling", &Dom::NextSibling, node, next);
  }
  DomResult BaseName(DomNode node, std::string& name) override {
    return Ask("base name", &Dom::BaseName, node, name);
  }
  DomResult AsElement(DomNode node, DomNode& same) override {
    return Ask("element", &Dom::AsElement, node, same);
  }
  DomResult SetAttribute(DomNode node, Name name, Name value) override {
    return Ask("set " + std::string(name) + "=" + std::string(value), &Dom::SetAttribute, node,
               name, value);
  }
  DomResult Attribute(DomNode node, Name name, std::string& value) override {
    return Ask("attribute " + std::string(name), &Dom::Attribute, node, name, value);
  }
  DomResult SetText(DomNode node, Name text) override {
    return Ask("set text " + std::string(text), &Dom::SetText, node, text);
  }
  DomResult SelectNode(DomNode node, Name path, DomNode& found) override {
    return Ask("select", &Dom::SelectNode, node, path, found);
  }
  DomResult Text(DomNode node, std::string& text) override {
    return Tailed("text", &Dom::Text, node, text);
  }
  DomResult Xml(DomNode node, std::string& xml) override {
    return Tailed("xml", &Dom::Xml, node, xml);
  }

 private:
  DomResult Ask(const std::string& call, auto method, auto&... arguments) {
    return m_script.Meet(call, [&] { return (*m_real.*method)(arguments...); });
  }
  DomResult Tailed(const char* call, auto method, DomNode node, std::string& text) {
    const DomResult result = Ask(call, method, node, text);
    if (result == kDomOk) text += m_script.tail;
    return result;
  }

  DomScript& m_script;
  const std::unique_ptr<DomDocument> m_real;
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
