#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "tests/conversations/Places.h"
#include "tests/conversations/Process.h"
#include "tools/tlk/serve/Conversation.h"

namespace tlk::conversations {

/// The two programs of a conversation, each with its first arguments; `--script FILE` is added.
struct Commands {
  std::vector<std::string> serve;
  std::vector<std::string> host;
};

/// One play of a conversation. It takes twice the conversation's limit at most.
class Run {
 public:
  /// All must outlive the run.
  Run(const serve::Conversation& conversation, const std::string& file, const Commands& commands);

  /// What was not as the file says; nothing when all was. Throws `std::system_error` when a program
  /// cannot be started.
  [[nodiscard]] std::vector<std::string> Play();

  /// Writes down what the two programs wrote, for a reader to see what went on.
  void ShowEverything(std::ostream& out) const;

 private:
  [[nodiscard]] std::unique_ptr<Process> Start(std::vector<std::string> words,
                                               const std::string& script,
                                               const char* errorFile) const;
  void StartHost();
  [[nodiscard]] bool IsListening();
  [[nodiscard]] bool IsOver();
  [[nodiscard]] bool ServerHasFailed();
  void AwaitOutput();
  void Judge();
  void JudgeEnd(const std::string& name, Process& process, int expected);
  void AddFault(const std::string& subject, const std::string& fault);
  [[nodiscard]] std::vector<std::string> Settled(
      const std::vector<serve::ConversationLine>& lines) const;
  [[nodiscard]] std::vector<std::string> Records() const;

  const serve::Conversation& m_conversation;
  const std::string& m_file;
  const Commands& m_commands;
  const TemporaryFolder m_folder;
  const ClosedPort m_closedPort;
  std::string m_port;
  std::unique_ptr<Process> m_server;
  std::unique_ptr<Process> m_host;
  std::vector<std::string> m_faults;
};

}  // namespace tlk::conversations
