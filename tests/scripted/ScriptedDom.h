#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "xml/Dom.h"

namespace tlk {

/// The operations of a DOM.
enum class DomCall {
  kNone,
  kNewDocument,
  kSetAsync,
  kSetValidateOnParse,
  kSetResolveExternals,
  kSelectXPath,
  kLoadXml,
  kParseErrorReason,
  kCreateElement,
  kSetDocumentElement,
  kDocumentElement,
  kAppendChild,
  kAsElement,
  kSetAttribute,
  kAttribute,
  kSelectNode,
  kText,
  kXml,
};

/// What a scripted DOM does, and what was asked of it.
class DomScript {
 public:
  static constexpr int kEachTime = 0;

  /// From now on, lets the n-th call of one operation, or each, give `result` and do nothing else.
  void Fail(DomCall call, DomResult result, int nth = 1) {
    m_call = call;
    m_result = result;
    m_left = nth;
    m_eachTime = nth == kEachTime;
  }

  /// Whether texts can be parsed at all, and what the DOM says of one that could not.
  bool parses = true;
  std::string reason;

  /// Every call that went through, in order: its name and what was asked.
  std::vector<std::string> calls;

  [[nodiscard]] std::optional<DomResult> Meet(DomCall call, std::string asked) {
    if (call == m_call && (m_eachTime || --m_left == 0)) return m_result;
    calls.push_back(std::move(asked));
    return std::nullopt;
  }

 private:
  DomCall m_call = DomCall::kNone;
  DomResult m_result = kDomOk;
  int m_left = 0;
  bool m_eachTime = false;
};

/// A document of a real DOM whose calls can be made to fail.
class ScriptedDomDocument final : public DomDocument {
 public:
  ScriptedDomDocument(DomScript& script, std::unique_ptr<DomDocument> real)
      : m_script(script), m_real(std::move(real)) {}

  DomResult SetAsync(bool on) override {
    const auto failure = m_script.Meet(DomCall::kSetAsync, on ? "async on" : "async off");
    return failure ? *failure : m_real->SetAsync(on);
  }
  DomResult SetValidateOnParse(bool on) override {
    const auto failure =
        m_script.Meet(DomCall::kSetValidateOnParse, on ? "validate on" : "validate off");
    return failure ? *failure : m_real->SetValidateOnParse(on);
  }
  DomResult SetResolveExternals(bool on) override {
    const auto failure =
        m_script.Meet(DomCall::kSetResolveExternals, on ? "resolve on" : "resolve off");
    return failure ? *failure : m_real->SetResolveExternals(on);
  }
  DomResult SelectXPath() override {
    const auto failure = m_script.Meet(DomCall::kSelectXPath, "xpath");
    return failure ? *failure : m_real->SelectXPath();
  }
  DomResult LoadXml(std::string_view text, bool& loaded) override {
    loaded = false;
    const auto failure = m_script.Meet(DomCall::kLoadXml, "load");
    if (failure) return *failure;
    return m_script.parses ? m_real->LoadXml(text, loaded) : kDomOk;
  }
  DomResult ParseErrorReason(std::string& reason) override {
    const auto failure = m_script.Meet(DomCall::kParseErrorReason, "reason");
    if (failure) return *failure;
    reason = m_script.reason;
    return kDomOk;
  }
  DomResult CreateElement(std::string_view name, DomNode& element) override {
    element = nullptr;
    const auto failure = m_script.Meet(DomCall::kCreateElement, "create " + std::string(name));
    return failure ? *failure : m_real->CreateElement(name, element);
  }
  DomResult SetDocumentElement(DomNode element) override {
    const auto failure = m_script.Meet(DomCall::kSetDocumentElement, "root");
    return failure ? *failure : m_real->SetDocumentElement(element);
  }
  DomResult DocumentElement(DomNode& element) override {
    element = nullptr;
    const auto failure = m_script.Meet(DomCall::kDocumentElement, "get root");
    return failure ? *failure : m_real->DocumentElement(element);
  }
  DomResult AppendChild(DomNode parent, DomNode child) override {
    const auto failure = m_script.Meet(DomCall::kAppendChild, "append");
    return failure ? *failure : m_real->AppendChild(parent, child);
  }
  DomResult AsElement(DomNode node, DomNode& element) override {
    element = nullptr;
    const auto failure = m_script.Meet(DomCall::kAsElement, "element");
    return failure ? *failure : m_real->AsElement(node, element);
  }
  DomResult SetAttribute(DomNode element, std::string_view name, std::string_view value) override {
    const auto failure = m_script.Meet(DomCall::kSetAttribute,
                                       "set " + std::string(name) + "=" + std::string(value));
    return failure ? *failure : m_real->SetAttribute(element, name, value);
  }
  DomResult Attribute(DomNode element, std::string_view name, std::string& value) override {
    const auto failure = m_script.Meet(DomCall::kAttribute, "get " + std::string(name));
    return failure ? *failure : m_real->Attribute(element, name, value);
  }
  DomResult SelectNode(DomNode context, std::string_view path, DomNode& node) override {
    node = nullptr;
    const auto failure = m_script.Meet(DomCall::kSelectNode, "select " + std::string(path));
    return failure ? *failure : m_real->SelectNode(context, path, node);
  }
  DomResult Text(DomNode node, std::string& text) override {
    const auto failure = m_script.Meet(DomCall::kText, "text");
    return failure ? *failure : m_real->Text(node, text);
  }
  DomResult Xml(DomNode node, std::string& xml) override {
    const auto failure = m_script.Meet(DomCall::kXml, "xml");
    return failure ? *failure : m_real->Xml(node, xml);
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
    const auto failure = script.Meet(DomCall::kNewDocument, "new");
    if (failure) return *failure;
    std::unique_ptr<DomDocument> real;
    const DomResult result = m_real.NewDocument(real);
    if (Succeeded(result))
      document = std::make_unique<ScriptedDomDocument>(script, std::move(real));
    return result;
  }

 private:
  DomFactory& m_real;
};

}  // namespace tlk
