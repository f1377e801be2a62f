// Plays a conversation file between a server and a host and checks what came of it:
//
//     conversation_runner --serve "tlk serve" --host "tlk host" FILE
//
// Both run with a temporary folder of their own, so that the trace log in it is theirs alone. Exit
// status 0 when everything was as the file says, else 1, and a report of what was not.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "tests/conversations/Pattern.h"
#include "tests/conversations/Process.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/serve/Conversation.h"

namespace tlk::conversations {
namespace {

using serve::Conversation;
using serve::ConversationLine;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kListening = "listening 127.0.0.1:";
constexpr std::string_view kAbsent = "absent ";
constexpr int kWaitForExitMs = 10;
constexpr std::size_t kShownLength = 400;

/// A folder that goes with its object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    auto name = (std::filesystem::temp_directory_path() / "conversation-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("cannot make a temporary folder");
    }
    m_path = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] std::string File(const char* name) const { return m_path / name; }
  [[nodiscard]] std::string Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

/// A port on which nobody listens, and on which nobody can while this object stands.
class ClosedPort {
 public:
  ClosedPort() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_socket, generic, size) != 0 || getsockname(m_socket, generic, &size) != 0) {
      throw std::runtime_error("cannot find a closed port");
    }
    m_port = ntohs(address.sin_port);
  }
  ~ClosedPort() { close(m_socket); }
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;

  [[nodiscard]] std::string Text() const { return std::to_string(m_port); }

 private:
  int m_socket;
  int m_port = 0;
};

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Replace(std::string& text, std::string_view name, std::string_view value) {
  for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
    text.replace(at, name.size(), value);
  }
}

struct Commands {
  std::vector<std::string> serve;
  std::vector<std::string> host;
};

/// One play of a conversation.
class Run {
 public:
  Run(const Conversation& conversation, const std::string& file, const Commands& commands)
      : m_conversation(conversation), m_file(file), m_commands(commands) {}

  /// What was not as the file says; nothing when all was.
  std::vector<std::string> Play() {
    StartServer();
    const auto deadline = Clock::now() + 2 * m_conversation.limit;
    while (!IsOver() && Clock::now() < deadline && !ServerHasFailed()) {
      AwaitOutput();
      if (!m_host && IsListening()) {
        StartHost();
      }
    }
    Judge();
    return m_faults;
  }

  void ShowEverything() const {
    Show("output of the server", SplitLines(m_server->Output()));
    Show("output of the host", SplitLines(m_host ? m_host->Output() : ""));
    Show("standard error of the server", SplitLines(ReadFile(m_folder.File("server.err"))));
    Show("standard error of the host", SplitLines(ReadFile(m_folder.File("host.err"))));
    Show("trace log", Records());
  }

 private:
  void StartServer() {
    auto words = m_commands.serve;
    words.insert(words.end(), {"--script", m_file});
    m_server = std::make_unique<Process>(
        Process::Start{words, Environment(), m_folder.File("server.err")});
  }

  bool IsListening() {
    const auto& output = m_server->Output();
    const auto end = output.find('\n');
    if (output.rfind(kListening, 0) != 0 || end == std::string::npos) {
      return false;
    }
    m_port = output.substr(kListening.size(), end - kListening.size());
    return true;
  }

  void StartHost() {
    const auto script = m_folder.File("host.txt");
    std::ofstream file(script, std::ios::binary);
    for (const auto& line : Settled(m_conversation.host)) {
      file << line << '\n';
    }
    file.close();
    auto words = m_commands.host;
    words.insert(words.end(), {"--script", script});
    m_host =
        std::make_unique<Process>(Process::Start{words, Environment(), m_folder.File("host.err")});
  }

  [[nodiscard]] std::vector<std::string> Environment() const {
    std::vector<std::string> variables{"TMPDIR=" + m_folder.Path()};
    if (!m_conversation.codePage.empty()) {
      variables.push_back("TLK_CODE_PAGE=" + m_conversation.codePage);
    }
    return variables;
  }

  /// The texts of lines, with the ports in their places.
  [[nodiscard]] std::vector<std::string> Settled(const std::vector<ConversationLine>& lines) const {
    std::vector<std::string> texts;
    for (const auto& line : lines) {
      texts.push_back(line.text);
      Replace(texts.back(), "$PORT", m_port);
      Replace(texts.back(), "$CLOSED_PORT", m_closedPort.Text());
    }
    return texts;
  }

  bool IsOver() { return m_host && m_host->ExitStatus() && m_server->ExitStatus() && AllRead(); }

  [[nodiscard]] bool AllRead() const {
    return m_host->OutputDescriptor() == -1 && m_server->OutputDescriptor() == -1;
  }

  /// There is no point in letting the host wait for a server that has given up.
  bool ServerHasFailed() {
    return m_server->OutputDescriptor() == -1 && m_server->ExitStatus().value_or(0) != 0;
  }

  /// The pause bounds the time in which the end of a process that has closed its output shows.
  void AwaitOutput() {
    std::array<pollfd, 2> waited{{{m_server->OutputDescriptor(), POLLIN, 0},
                                  {m_host ? m_host->OutputDescriptor() : -1, POLLIN, 0}}};
    poll(waited.data(), waited.size(), kWaitForExitMs);
    if (waited[0].revents != 0) {
      m_server->ReadOutput();
    }
    if (waited[1].revents != 0) {
      m_host->ReadOutput();
    }
  }

  void Judge() {
    if (!m_host) {
      m_faults.emplace_back("the server did not listen");
      return;
    }
    JudgeEnd("server", *m_server, 0);
    JudgeEnd("host", *m_host, m_conversation.status);
    if (!LinesFit(Settled(m_conversation.output), SplitLines(m_host->Output()))) {
      m_faults.push_back("the host's output is not as expected: " + FirstStrayLine());
    }
    JudgeLog(Settled(m_conversation.log), Records());
  }

  void JudgeEnd(const std::string& name, Process& process, int expected) {
    const auto status = process.ExitStatus();
    if (!status) {
      m_faults.push_back("the " + name + " did not come to its end");
    } else if (*status != expected) {
      m_faults.push_back("the " + name + " ended with status " + std::to_string(*status) +
                         ", expected " + std::to_string(expected));
    }
  }

  /// Up to the first star the lines can be told one by one.
  [[nodiscard]] std::string FirstStrayLine() const {
    const auto expected = Settled(m_conversation.output);
    const auto got = SplitLines(m_host->Output());
    for (std::size_t at = 0; at < expected.size() && expected[at] != "*"; ++at) {
      if (at >= got.size() || !LineFits(expected[at], got[at])) {
        return "line " + std::to_string(m_conversation.output[at].number) + " expects\n    " +
               expected[at].substr(0, kShownLength) + "\n  and there is\n    " +
               (at < got.size() ? got[at].substr(0, kShownLength) : "nothing");
      }
    }
    return "the lines expected behind are not there, or there are more";
  }

  void JudgeLog(const std::vector<std::string>& expected, const std::vector<std::string>& records) {
    auto next = records.begin();
    for (const auto& line : expected) {
      if (line.rfind(kAbsent, 0) == 0) {
        const auto pattern = line.substr(kAbsent.size());
        if (std::any_of(records.begin(), records.end(),
                        [&](const auto& record) { return LineFits(pattern, record); })) {
          m_faults.push_back("in the trace log, but should not be: " + pattern);
        }
        continue;
      }
      next = std::find_if(next, records.end(),
                          [&](const auto& record) { return LineFits(line, record); });
      if (next == records.end()) {
        m_faults.push_back("not in the trace log, or not in its turn: " + line);
        return;
      }
      ++next;
    }
  }

  [[nodiscard]] std::vector<std::string> Records() const {
    return ReadRecords(ReadFile(m_folder.File("TLK_Client.log")));
  }

  static void Show(const char* title, const std::vector<std::string>& lines) {
    std::cout << "--- " << title << "\n";
    for (const auto& line : lines) {
      std::cout << "  " << line.substr(0, kShownLength)
                << (line.size() > kShownLength ? "...\n" : "\n");
    }
  }

  const Conversation& m_conversation;
  const std::string m_file;
  const Commands m_commands;
  const TemporaryFolder m_folder;
  const ClosedPort m_closedPort;
  std::string m_port;
  std::unique_ptr<Process> m_server;
  std::unique_ptr<Process> m_host;
  std::vector<std::string> m_faults;
};

int PlayFile(const std::string& file, const Commands& commands) {
  std::string error;
  const auto conversation = serve::ReadConversationFile(file, error);
  if (!conversation) {
    std::cout << error << "\n";
    return 1;
  }
  Run run(*conversation, file, commands);
  const auto faults = run.Play();
  for (const auto& fault : faults) {
    std::cout << file << ": " << fault << "\n";
  }
  if (!faults.empty()) {
    run.ShowEverything();
  }
  return faults.empty() ? 0 : 1;
}

}  // namespace
}  // namespace tlk::conversations

int main(int argc, char** argv) {
  CLI::App app("Play a conversation file between a server and a host.");
  std::string serve;
  std::string host;
  std::string file;
  app.add_option("--serve", serve, "Command of the server")->required();
  app.add_option("--host", host, "Command of the host")->required();
  app.add_option("FILE", file, "Conversation file")->required();
  CLI11_PARSE(app, argc, argv);

  tlk::conversations::Commands commands;
  std::string error;
  if (!tlk::SplitWords(serve, commands.serve, error) ||
      !tlk::SplitWords(host, commands.host, error) || commands.serve.empty() ||
      commands.host.empty()) {
    std::cerr << "bad command: " << error << "\n";
    return 1;
  }
  try {
    return tlk::conversations::PlayFile(file, commands);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 1;
  }
}
