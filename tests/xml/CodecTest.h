#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedDom.h"
#include "xml/Codec.h"
#include "xml/Gate.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/TLK_XMLParser.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk {

/// A DOM that the codec must work with. The same tests run on each.
struct DomUnderTest {
  const char* name;
  std::unique_ptr<DomFactory> (*make)(const AnsiText& text);
};

inline constexpr DomUnderTest kPugixml = {"pugixml",
                                          [](const AnsiText& text) -> std::unique_ptr<DomFactory> {
                                            return std::make_unique<PugiDomFactory>(text);
                                          }};

inline std::string DomName(const testing::TestParamInfo<DomUnderTest>& info) {
  return info.param.name;
}

inline void PrintTo(const DomUnderTest& dom, std::ostream* out) { *out << dom.name; }

/// The codec over a real DOM whose calls can be made to fail, with a log that keeps its records.
class CodecTest : public testing::TestWithParam<DomUnderTest> {
 protected:
  DomScript& Script() { return m_dom.script; }

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

  static std::string XmlOf(TLK_XMLBuilder& builder) {
    std::string xml;
    EXPECT_EQ(builder.GetXml(xml), 0);
    return xml;
  }

  const AnsiText& m_text = SystemPlatform().text;
  std::unique_ptr<DomFactory> m_real = GetParam().make(m_text);
  ScriptedDomFactory m_dom{*m_real};
  RecordingLogger m_log;
  XmlGate m_gate{m_text};
  Codec m_codec{m_dom, m_text, m_gate, m_log};
};

}  // namespace tlk
