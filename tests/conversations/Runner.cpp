// Plays a conversation file between a server and a host and checks what came of it:
//
//     conversation_runner --serve "tlk serve" --host "tlk host" FILE
//
// Both commands go through the shell, with `--script FILE` added and a temporary folder of their
// own, so that the trace log in it is theirs alone. Neither runs longer than twice the
// conversation's limit. Exit status 0 when everything was as the file says, else 1, and a report of
// what was not. `--windows` says that the host is a Windows program.

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "tests/conversations/Program.h"
#include "tests/conversations/Verdict.h"
#include "tools/tlk/serve/Conversation.h"

namespace tlk::conversations {
namespace {

using asio::ip::tcp;
using serve::Conversation;

constexpr std::string_view kListening = "listening 127.0.0.1:";

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Replace(std::string& text, std::string_view name, std::string_view value) {
  for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
    text.replace(at, name.size(), value);
  }
}

/// Who plays.
struct Cast {
  std::string serve;
  std::string host;
  HostSystem system = HostSystem::kNative;
};

/// One play of a conversation, in a folder that goes with its object.
class Run {
 public:
  Run(const Conversation& conversation, const Cast& cast)
      : m_conversation(conversation), m_cast(cast) {
    if (mkdtemp(m_folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
  }
  ~Run() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// What was not as the file says; nothing when all was. The host starts when the server listens,
  /// and what it does behind a server that gave up tells nothing more.
  Lines Play(const std::string& file) {
    const bool indented = m_cast.system == HostSystem::kWindows;
    Program server(CommandLine(m_cast.serve + (indented ? " --indented" : ""), file));
    server.ReadLine();
    if (!server.Output().starts_with(kListening)) return {"the server did not listen"};
    m_port = server.Output().substr(kListening.size());
    m_port.pop_back();
    const auto script = WriteHostScript();
    Program client(CommandLine(m_cast.host + " " + m_conversation.hostOptions, script));
    const int hostStatus = client.End();
    const int serverStatus = server.End();
    m_serverLines = SplitLines(server.Output());
    m_hostLines = ReadOutput(client.Output(), m_cast.system);
    m_records = ReadRecords(ReadFile(Place("TLK_Client.log")), m_cast.system);
    if (serverStatus != 0) return {StatusFault("server", serverStatus, 0), m_serverLines.back()};
    Lines faults{StatusFault("host", hostStatus, m_conversation.status),
                 JudgeOutput(Settled(m_conversation.output), m_hostLines),
                 JudgeLog(Settled(m_conversation.log), m_records)};
    std::erase(faults, "");
    return faults;
  }

  /// Shows what the two programs wrote, for a reader to see what went on.
  void Show() const {
    Show("output of the server", m_serverLines);
    Show("output of the host", m_hostLines);
    Show("standard error of both", SplitLines(ReadFile(Place("errors"))));
    Show("trace log", m_records);
  }

 private:
  [[nodiscard]] std::string Place(const char* name) const { return m_folder + "/" + name; }

  [[nodiscard]] std::string CommandLine(const std::string& program,
                                        const std::string& script) const {
    const auto& codePage = m_conversation.codePage;
    return "TMPDIR='" + m_folder + "' " +
           (codePage.empty() ? "" : "TLK_CODE_PAGE='" + codePage + "' ") + "exec timeout -k 1 " +
           std::to_string(2 * m_conversation.limit.count()) + " " + program + " --script '" +
           script + "' </dev/null 2>>'" + Place("errors") + "'";
  }

  [[nodiscard]] std::string WriteHostScript() const {
    auto script = Place("host.txt");
    std::ofstream file(script, std::ios::binary);
    for (const auto& line : Settled(m_conversation.host)) {
      file << line << '\n';
    }
    return script;
  }

  /// The texts of lines, with the ports in their places.
  [[nodiscard]] Lines Settled(const std::vector<serve::ConversationLine>& lines) const {
    Lines texts;
    for (const auto& line : lines) {
      texts.push_back(line.text);
      Replace(texts.back(), "$PORT", m_port);
      Replace(texts.back(), "$CLOSED_PORT", std::to_string(m_closed.local_endpoint().port()));
    }
    return texts;
  }

  static std::string StatusFault(const std::string& name, int status, int expected) {
    if (status == expected) return {};
    return "the " + name + " ended with status " + std::to_string(status) + ", not " +
           std::to_string(expected);
  }

  static void Show(const char* title, const Lines& lines) {
    std::cout << "--- " << title << "\n";
    for (const auto& line : lines) {
      std::cout << "  " << Shorten(line) << "\n";
    }
  }

  const Conversation& m_conversation;
  const Cast& m_cast;
  std::string m_folder = std::filesystem::temp_directory_path() / "conversation-XXXXXX";
  asio::io_context m_io;
  /// Bound, but nobody listens there, and nobody can while this stands.
  const tcp::socket m_closed{m_io, {asio::ip::address_v4::loopback(), 0}};
  std::string m_port;
  Lines m_serverLines;
  Lines m_hostLines;
  Lines m_records;
};

int PlayFile(const std::string& file, const Cast& cast) {
  std::string error;
  const auto conversation = tlk::serve::ReadConversationFile(file, error);
  if (!conversation) throw std::runtime_error(error);
  Run run(*conversation, cast);
  const auto faults = run.Play(file);
  for (const auto& fault : faults) {
    std::cout << file << ": " << fault << "\n";
  }
  if (!faults.empty()) run.Show();
  return faults.empty() ? 0 : 1;
}

}  // namespace
}  // namespace tlk::conversations

int main(int argc, char** argv) {
  CLI::App app("Play a conversation file between a server and a host.");
  tlk::conversations::Cast cast;
  std::string file;
  bool windows = false;
  app.add_option("--serve", cast.serve, "Command of the server")->required();
  app.add_option("--host", cast.host, "Command of the host")->required();
  app.add_flag("--windows", windows, "The host is a Windows program");
  app.add_option("FILE", file, "Conversation file")->required();
  CLI11_PARSE(app, argc, argv);
  if (windows) cast.system = tlk::conversations::HostSystem::kWindows;
  try {
    return tlk::conversations::PlayFile(file, cast);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 1;
  }
}
