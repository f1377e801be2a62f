#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "SystemDom.h"
#include "platform/Platform.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedDom.h"
#include "xml/Codec.h"
#include "xml/Gate.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {

/// The codec over a real DOM whose calls can be made to fail, with a log that keeps its records.
class CodecTest : public testing::Test {
 protected:
  /// Runs something and returns what it shows on standard output.
  template <typename Action>
  std::string ShownBy(Action action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
  }

  /// A builder with a fresh message, type "Chat", from 5 to 0.
  std::unique_ptr<TLK_XMLBuilder> NewMessage() {
    auto builder = std::make_unique<TLK_XMLBuilder>(m_codec);
    EXPECT_EQ(builder->CreateMessage("Chat", 5, 0), 0);
    return builder;
  }

  /// What would be sent.
  static std::string WireOf(TLK_XMLBuilder& builder) {
    std::string xml;
    EXPECT_EQ(builder.GetXml(xml), 0);
    return xml;
  }

  /// The same on every DOM.
  static std::string XmlOf(TLK_XMLBuilder& builder) { return WithoutIndentation(WireOf(builder)); }

  DomThread m_domThread;
  const AnsiText& m_text = SystemPlatform().text;
  SystemDomFactory m_real{m_text};
  ScriptedDomFactory m_dom{m_real};
  DomScript& m_script = m_dom.script;
  RecordingLogger m_log;
  XmlGate m_gate{m_text};
  Codec m_codec{m_dom, m_text, m_gate, m_log};
};

}  // namespace tlk
