#include "tests/conversations/Run.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string_view>

#include "tests/conversations/Pattern.h"
#include "tests/conversations/Verdict.h"

namespace tlk::conversations {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kListening = "listening 127.0.0.1:";
constexpr const char* kServerErrors = "server.err";
constexpr const char* kHostErrors = "host.err";
constexpr int kPauseMs = 10;

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Replace(std::string& text, std::string_view name, std::string_view value) {
  for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
    text.replace(at, name.size(), value);
  }
}

void Show(std::ostream& out, const char* title, const std::vector<std::string>& lines) {
  out << "--- " << title << "\n";
  for (const auto& line : lines) {
    out << "  " << Shorten(line) << "\n";
  }
}

}  // namespace

Run::Run(const serve::Conversation& conversation, const std::string& file, const Commands& commands)
    : m_conversation(conversation), m_file(file), m_commands(commands) {}

std::vector<std::string> Run::Play() {
  m_server = Start(m_commands.serve, m_file, kServerErrors);
  const auto deadline = Clock::now() + 2 * m_conversation.limit;
  while (!IsOver() && !ServerHasFailed() && Clock::now() < deadline) {
    AwaitOutput();
    if (!m_host && IsListening()) {
      StartHost();
    }
  }
  Judge();
  return m_faults;
}

std::unique_ptr<Process> Run::Start(std::vector<std::string> words, const std::string& script,
                                    const char* errorFile) const {
  words.insert(words.end(), {"--script", script});
  std::vector<std::string> environment{"TMPDIR=" + m_folder.Path()};
  if (!m_conversation.codePage.empty()) {
    environment.push_back("TLK_CODE_PAGE=" + m_conversation.codePage);
  }
  return std::make_unique<Process>(
      Process::Start{std::move(words), std::move(environment), m_folder.File(errorFile)});
}

bool Run::IsListening() {
  const auto& output = m_server->Output();
  const auto end = output.find('\n');
  if (output.rfind(kListening, 0) != 0 || end == std::string::npos) {
    return false;
  }
  m_port = output.substr(kListening.size(), end - kListening.size());
  return true;
}

void Run::StartHost() {
  const auto script = m_folder.File("host.txt");
  std::ofstream file(script, std::ios::binary);
  for (const auto& line : Settled(m_conversation.host)) {
    file << line << '\n';
  }
  file.close();
  m_host = Start(m_commands.host, script, kHostErrors);
}

bool Run::IsOver() {
  return m_host && m_host->OutputDescriptor() == -1 && m_server->OutputDescriptor() == -1 &&
         m_host->ExitStatus() && m_server->ExitStatus();
}

/// There is no point in letting the host wait for a server that has given up.
bool Run::ServerHasFailed() {
  return m_server->OutputDescriptor() == -1 && m_server->ExitStatus().value_or(0) != 0;
}

/// The pause bounds the time in which the end of a program that has closed its output shows.
void Run::AwaitOutput() {
  std::array<pollfd, 2> waited{{{m_server->OutputDescriptor(), POLLIN, 0},
                                {m_host ? m_host->OutputDescriptor() : -1, POLLIN, 0}}};
  poll(waited.data(), waited.size(), kPauseMs);
  if (waited[0].revents != 0) {
    m_server->ReadOutput();
  }
  if (waited[1].revents != 0) {
    m_host->ReadOutput();
  }
}

/// What a host does behind a server that gave up tells nothing more.
void Run::Judge() {
  JudgeEnd("server", *m_server, 0);
  if (!m_host || ServerHasFailed()) {
    AddFault("server", m_host ? SplitLines(m_server->Output()).back() : "did not listen");
    return;
  }
  JudgeEnd("host", *m_host, m_conversation.status);
  AddFault("host's output",
           JudgeOutput(Settled(m_conversation.output), SplitLines(m_host->Output())));
  AddFault("trace log", JudgeLog(Settled(m_conversation.log), Records()));
}

void Run::JudgeEnd(const std::string& name, Process& process, int expected) {
  const auto status = process.ExitStatus();
  if (!status) {
    AddFault(name, "did not come to its end");
  } else if (*status != expected) {
    AddFault(name,
             "ended with status " + std::to_string(*status) + ", not " + std::to_string(expected));
  }
}

void Run::AddFault(const std::string& subject, const std::string& fault) {
  if (!fault.empty()) {
    m_faults.push_back(subject + ": " + fault);
  }
}

/// The texts of lines, with the ports in their places.
std::vector<std::string> Run::Settled(const std::vector<serve::ConversationLine>& lines) const {
  std::vector<std::string> texts;
  for (const auto& line : lines) {
    texts.push_back(line.text);
    Replace(texts.back(), "$PORT", m_port);
    Replace(texts.back(), "$CLOSED_PORT", m_closedPort.Text());
  }
  return texts;
}

std::vector<std::string> Run::Records() const {
  return ReadRecords(ReadFile(m_folder.File("TLK_Client.log")));
}

void Run::ShowEverything(std::ostream& out) const {
  Show(out, "output of the server", SplitLines(m_server->Output()));
  Show(out, "output of the host", SplitLines(m_host ? m_host->Output() : ""));
  Show(out, "standard error of the server", SplitLines(ReadFile(m_folder.File(kServerErrors))));
  Show(out, "standard error of the host", SplitLines(ReadFile(m_folder.File(kHostErrors))));
  Show(out, "trace log", Records());
}

}  // namespace tlk::conversations
