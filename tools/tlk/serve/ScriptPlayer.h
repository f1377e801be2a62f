#pragma once

#include <array>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/serve/Conversation.h"
#include "tools/tlk/serve/Messages.h"
#include "tools/tlk/serve/ScriptPeer.h"
#include "tools/tlk/serve/Server.h"

namespace tlk::serve {

/// A server that does what a script says, one command after the other:
///
/// | command | what it does |
/// |---|---|
/// | `accept` | waits for the next client, which becomes the one spoken to |
/// | `client N` | speaks to the Nth client again |
/// | `message TYPE [DATA [TO_ID]]` | sends a message from 0 to 1, or to TO_ID |
/// | `stamped TEXT` | sends TEXT with its length in place of `0000000` |
/// | `send TEXT` | sends the bytes of TEXT |
/// | `pieces N [PAUSE_MS]` | sends in pieces of N bytes from now on, 0 for whole |
/// | `wait MS` | does nothing for that long |
/// | `expect TEXT` | the next bytes are those of TEXT |
/// | `expect-message TYPE [DATA [FROM_ID]]` | the next message is that, from -1 or FROM_ID to 0 |
/// | `expect-stamped TEXT` | the next message is TEXT with its length in place of `0000000` |
/// | `expect-type TYPE` | the next message is a true one of that type |
/// | `expect-close` | the client closes the connection and sends nothing before |
/// | `close` | closes the connection |
/// | `reset` | resets it |
///
/// What is expected is written without indentation. From clients that indent, `expect` takes whole
/// messages, and each message is compared as it would be without.
///
/// Words are split and quoted as on the console of a host; optional ones come one by one. No
/// command waits longer than the conversation's limit. A line is written for each before it is
/// carried out.
class ScriptPlayer {
 public:
  /// Both must outlive the player; the script has been checked. `indented` says that the clients
  /// indent their messages.
  ScriptPlayer(const Conversation& conversation, const LineWriter& writeLine,
               bool indented = false);

  /// Looks at every command of a script, and at whether there is a client for it. Throws
  /// `ScriptError` of what could not be played.
  static void Check(const Conversation& conversation);

  /// Begins to listen; says why not when it cannot.
  [[nodiscard]] asio::error_code Listen(const asio::ip::tcp::endpoint& where);

  /// Plays the script. False when something went otherwise; a line has then said what.
  [[nodiscard]] bool Play();

 private:
  struct Command {
    CommandForm form;
    void (ScriptPlayer::*play)(const Arguments& words);
  };
  static const std::array<Command, 14> kCommands;

  void PlayLine(const ScriptLine& line);

  void Accept(const Arguments& words);
  void SelectClient(const Arguments& words);
  void SendMessage(const Arguments& words);
  void SendStamped(const Arguments& words);
  void SendBytes(const Arguments& words);
  void SetPieces(const Arguments& words);
  void Pause(const Arguments& words);
  void ExpectBytes(const Arguments& words);
  void ExpectMessage(const Arguments& words);
  void ExpectStamped(const Arguments& words);
  void ExpectType(const Arguments& words);
  void ExpectClose(const Arguments& words);
  void Close(const Arguments& words);
  void Reset(const Arguments& words);

  ScriptPeer& Peer();
  std::string ReceiveMessage();

  const Conversation& m_conversation;
  const LineWriter& m_writeLine;
  const bool m_indented;
  Messages m_messages;
  asio::io_context m_io;
  ScriptWait m_wait;
  asio::ip::tcp::acceptor m_acceptor;
  std::vector<ScriptPeer> m_peers;
  std::size_t m_current = 0;  ///< The peer spoken to, from 1; 0 before the first.
};

}  // namespace tlk::serve
