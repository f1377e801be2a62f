#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "SystemDom.h"
#include "platform/Platform.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedDom.h"
#include "xml/Codec.h"
#include "xml/Failures.h"
#include "xml/Gate.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {

/// What stands in front of a separator and what behind it.
inline std::pair<std::string, std::string> Halves(const std::string& text, char separator) {
  const std::size_t at = std::min(text.find(separator), text.size());
  return {text.substr(0, at), text.substr(std::min(at + 1, text.size()))};
}

/// What stands between separators.
inline std::vector<std::string> Split(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  for (std::size_t at = 0, end = 0; end != text.npos; at = end + separator.size()) {
    end = text.find(separator, at);
    parts.push_back(text.substr(at, end - at));
  }
  return parts;
}

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
