#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/serve/ScriptText.h"

namespace tlk::serve {

/// The server's part of a conversation between a server and a host, as a small text file describes
/// it:
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
/// anywhere stands for N times the letter x. The other sections and settings are for whoever plays
/// the host; docs/conversations.md tells of all.
struct Conversation {
  std::chrono::seconds limit{30};  ///< `limit SECONDS`: how long the server waits for one thing.
  std::vector<ScriptLine> server;  ///< What it does; ScriptPlayer.h lists the commands.
};

/// Reads a conversation; throws `ScriptError` of a text that is not one. What the server's commands
/// are it does not look at.
[[nodiscard]] Conversation ReadConversation(std::string_view text);

/// The line with every fill written out; throws `ScriptError` when one has no sensible number, or
/// when all together are more than a message can hold.
[[nodiscard]] ScriptLine WithFills(const ScriptLine& line);

}  // namespace tlk::serve
