#include "tools/tlk/CommandSession.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "tools/tlk/InputFile.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/Printable.h"
#include "tools/tlk/StandardInput.h"

namespace tlk {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool IsUtf16(std::string_view line) {
  return line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF");
}

/// Editors put a mark in front of a text, which is no part of its first line. False when the text
/// cannot be read as lines of bytes.
bool TakeMark(std::string& line, CommandSession& session) {
  if (line.starts_with(kUtf8Mark)) line.erase(0, kUtf8Mark.size());
  if (!IsUtf16(line)) return true;
  session.Refuse("the input is UTF-16: save it in the system's code page, or as UTF-8");
  return false;
}

// While it waits for a line, events are delivered, and a handler may quit: hence the second look.
void RunLines(LineReader lines, CommandSession& session) {
  std::string line;
  for (bool isFirst = true; !session.Ended(); isFirst = false) {
    if (!lines.Next(line) || session.Ended()) break;
    if (isFirst && !TakeMark(line, session)) break;
    session.Run(line);
  }
}

/// The character that begins there, which may take two units.
std::u16string_view CharacterAt(std::u16string_view text, std::size_t index) {
  const bool isPair = (text[index] & 0xFC00U) == 0xD800U;
  return text.substr(index, isPair ? 2 : 1);
}

}  // namespace

CommandSession::CommandSession(Print print, std::vector<CommandForm> forms)
    : m_print(std::move(print)), m_forms(std::move(forms)) {}

void CommandSession::Run(std::string_view line) {
  ++m_lineNumber;
  RunLine(line);
}

void CommandSession::RunTyped(std::u16string_view line) {
  const AnsiText& ansi = SystemPlatform().text;
  std::string narrow;
  ansi.Narrow(line, narrow);
  std::u16string back;
  ansi.Widen(narrow, back);
  if (back == line) return Run(narrow);
  const auto differ = std::mismatch(line.begin(), line.end(), back.begin(), back.end());
  const auto index = static_cast<std::size_t>(differ.first - line.begin());
  const auto lacked = index < line.size() ? CharacterAt(line, index) : line;
  Refuse("the code page has no " + Printable(lacked));
}

void CommandSession::Refuse(std::string_view why) {
  ++m_lineNumber;
  Fail(why);
}

void CommandSession::Fail(std::string_view text) {
  m_exitStatus = 1;
  m_print("error: " + std::string(text));
}

void CommandSession::EndWith(int exitStatus) {
  m_exitStatus = exitStatus;
  End();
}

void CommandSession::Help(const Arguments& arguments) {
  std::string text;
  if (arguments.empty()) {
    text = Explain(m_forms);
  } else {
    const std::string& name = arguments[0].text;
    const auto form = std::find_if(m_forms.begin(), m_forms.end(),
                                   [&](const CommandForm& known) { return known.name == name; });
    if (form == m_forms.end()) return Fail(UnknownCommand(name));
    text = Explain(*form);
  }
  text.pop_back();
  PrintLine(text);
}

bool OpenScript(const std::string& program, const std::string& path, std::ifstream& script) {
  const std::string failure = OpenToRead(path, script);
  if (failure.empty()) return true;
  std::cerr << program << ": cannot read the script " << path << ": " << failure << '\n';
  return false;
}

void RunScript(std::istream& script, CommandSession& session) {
  RunLines(LineReader([&](std::string& bytes) { return ReadPiece(script, bytes); }), session);
}

void RunStandardInput(LineReader::More more, CommandSession& session) {
  RunLines(LineReader(std::move(more)), session);
}

bool IsConversation() { return StandardInputIsTerminal() && OwnOutput::Get().IsTerminal(); }

}  // namespace tlk
