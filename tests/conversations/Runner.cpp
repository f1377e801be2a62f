// Plays a conversation file between a server and a host and checks what came of it:
//
//     conversation_runner --serve "tlk serve" --host "tlk host" FILE
//
// Both run with a temporary folder of their own, so that the trace log in it is theirs alone. Exit
// status 0 when everything was as the file says, else 1, and a report of what was not.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "tests/conversations/Run.h"
#include "tools/tlk/Words.h"

namespace {

using tlk::conversations::Commands;
using tlk::conversations::Run;

int PlayFile(const std::string& file, const Commands& commands) {
  std::string error;
  const auto conversation = tlk::serve::ReadConversationFile(file, error);
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
    run.ShowEverything(std::cout);
  }
  return faults.empty() ? 0 : 1;
}

/// The words of a command; for CLI11, what is wrong with them.
std::string ReadCommand(const std::string& text, std::vector<std::string>& words) {
  std::string error;
  if (!tlk::SplitWords(text, words, error)) {
    return error;
  }
  return words.empty() ? "no command" : "";
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Play a conversation file between a server and a host.");
  Commands commands;
  std::string file;
  std::string serve;
  std::string host;
  app.add_option("--serve", serve, "Command of the server")
      ->required()
      ->check([&](const std::string& text) { return ReadCommand(text, commands.serve); });
  app.add_option("--host", host, "Command of the host")
      ->required()
      ->check([&](const std::string& text) { return ReadCommand(text, commands.host); });
  app.add_option("FILE", file, "Conversation file")->required();
  CLI11_PARSE(app, argc, argv);
  try {
    return PlayFile(file, commands);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 1;
  }
}
