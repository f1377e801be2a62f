#pragma once

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace tlk::serve {

/// A line of a conversation file and where it stands.
struct ConversationLine {
  int number = 0;
  std::string text;
};

/// A conversation between a server and a host, as a small text file describes it:
///
///     # what it is about
///     limit 20
///     server:
///       accept
///       expect-message Hello <a/>
///       message Welcome <b/> 7
///     host:
///       connect 127.0.0.1 $PORT
///     output:
///       connect hr=0x00000000 pVal=1
///     log:
///       N Status changed. Connected.\n (Tlkc - 226)
///
/// First come settings, if any, then the sections. Lines of a section are indented; their order is
/// the order of things. Blank lines, and lines whose first character is `#`, say nothing. `$FILL:N`
/// anywhere stands for N times the letter x.
struct Conversation {
  int status = 0;                  ///< `status N`: what the host ends with.
  std::string codePage;            ///< `code-page NAME`: of both sides; empty for the usual one.
  std::string hostOptions;         ///< `host-options OPTIONS`: how the host is called besides.
  std::chrono::seconds limit{30};  ///< `limit SECONDS`: how long the server waits for one thing.
  std::vector<ConversationLine>
      server;                          ///< What the server does; ScriptPlayer.h lists the commands.
  std::vector<ConversationLine> host;  ///< What the host is told to do.
  std::vector<ConversationLine> output;  ///< What it prints.
  std::vector<ConversationLine> log;     ///< What is in the trace log.
};

/// Reads a conversation; none when the text is not one, and `error` then says where and why.
[[nodiscard]] std::optional<Conversation> ReadConversation(std::istream& text, std::string& error);

/// Reads the conversation in a file.
[[nodiscard]] std::optional<Conversation> ReadConversationFile(const std::string& path,
                                                               std::string& error);

}  // namespace tlk::serve
