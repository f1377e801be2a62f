#include "tools/tlk/CommandSession.h"

#include <iostream>
#include <utility>

#include "tools/tlk/InputFile.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/StandardInput.h"

namespace tlk {
namespace {

// While it waits for a line, events are delivered, and a handler may quit: hence the second look.
void RunLines(LineReader lines, CommandSession& session, std::string_view prompt) {
  std::string line;
  while (!session.Ended()) {
    if (!prompt.empty()) OwnOutput::Get().Text(prompt);
    if (!lines.Next(line) || session.Ended()) break;
    session.RunLine(line);
  }
}

}  // namespace

CommandSession::CommandSession(Print print) : m_print(std::move(print)) {}

void CommandSession::Fail(std::string_view text) {
  m_exitStatus = 1;
  m_print("error: " + std::string(text));
}

bool OpenScript(const std::string& program, const std::string& path, std::ifstream& script) {
  const std::string failure = OpenToRead(path, script);
  if (failure.empty()) return true;
  std::cerr << program << ": cannot read the script " << path << ": " << failure << '\n';
  return false;
}

void RunScript(std::istream& script, CommandSession& session) {
  RunLines(LineReader([&](std::string& bytes) { return ReadPiece(script, bytes); }), session, "");
}

void RunStandardInput(LineReader::More more, CommandSession& session) {
  const bool isConversation = StandardInputIsTerminal() && OwnOutput::Get().IsTerminal();
  RunLines(LineReader(std::move(more)), session, isConversation ? "> " : "");
}

}  // namespace tlk
