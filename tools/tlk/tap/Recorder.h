#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "tools/tlk/tap/NewFile.h"
#include "tools/tlk/tap/Seen.h"
#include "tools/tlk/wire/MessageText.h"

namespace tlk::tap {

/// Writes what goes through a tap into a conversation file, as the server's part: what came of the
/// clients is expected, and what came of the server is said, at its time. After each thing the file
/// is whole. A script cannot speak with a client that has ended its stream, nor hear one behind its
/// own `close`; what there is of that is left out.
class Recorder {
 public:
  /// Begins the conversation. With `hidesData` the file holds no bodies.
  Recorder(OpenFile file, bool hidesData);

  void Accept(int client, std::uint64_t tick);

  /// A message; `message` was read from `frame`.
  void Message(int client, Way way, std::string_view frame, const wire::MessageText& message,
               std::uint64_t tick);

  /// Bytes that are no message.
  void Bytes(int client, Way way, std::string_view bytes, std::uint64_t tick);

  /// One side has ended its stream.
  void End(int client, Way way, std::uint64_t tick);

  /// The connection is over; whether by a reset, and whose.
  void Gone(int client, Ending ending, std::uint64_t tick);

  /// Why the file could not be written; empty while it could.
  [[nodiscard]] const std::string& Failure() const { return m_failure; }

 private:
  /// How far the conversation with a client has come.
  enum class Stage { kOpen, kClientEnded, kOver };

  [[nodiscard]] bool IsOpen(int client) const;
  void ClientMessage(int client, std::string_view frame, const wire::MessageText& message,
                     std::uint64_t tick);
  void ServerMessage(int client, std::string_view frame, const wire::MessageText& message,
                     std::uint64_t tick);
  void Pause(std::uint64_t tick);
  void Put(int client, std::string_view line, std::uint64_t tick);
  void PutComment(int client, Way way, std::size_t size, std::uint64_t tick);
  void Write(std::string_view text);

  OpenFile m_file;
  const bool m_hidesData;
  int m_client = 0;          ///< Whom the conversation speaks to at present.
  std::uint64_t m_tick = 0;  ///< When the last thing happened.
  std::map<int, Stage> m_stages;
  std::string m_failure;
};

}  // namespace tlk::tap
