#include "tools/tlk/serve/ScriptPlayer.h"

#include <charconv>
#include <cstdio>
#include <optional>
#include <utility>

#include "tools/tlk/Words.h"
#include "tools/tlk/net/Listening.h"
#include "tools/tlk/serve/Indentation.h"
#include "transport/Framing.h"
#include "transport/MessageTypes.h"

namespace tlk::serve {
namespace {

constexpr std::int32_t kUsualClient = 1;
constexpr std::int32_t kUntoldClient = -1;
constexpr std::size_t kShownLine = 100;

std::int32_t ReadNumber(const std::string& word) {
  std::int32_t number = 0;
  const auto* end = word.data() + word.size();
  const auto read = std::from_chars(word.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) {
    throw ScriptFailure(Quote(word) + " is not a number");
  }
  return number;
}

std::int32_t NumberAt(const std::vector<std::string>& words, std::size_t at, std::int32_t usual) {
  return at < words.size() ? ReadNumber(words[at]) : usual;
}

std::int32_t CountAt(const std::vector<std::string>& words, std::size_t at) {
  const auto count = NumberAt(words, at, 0);
  if (count < 0) throw ScriptFailure(words[at] + " is negative");
  return count;
}

std::optional<std::string_view> DataOf(const std::vector<std::string>& words) {
  constexpr std::size_t kData = 2;
  return kData < words.size() ? std::optional<std::string_view>(words[kData]) : std::nullopt;
}

/// The text with its own length for a stamp; as it is when it has none.
std::string Stamped(std::string text) {
  const auto marker = text.find(kLengthMarker);
  if (marker != std::string::npos) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%07zu", text.size());
    text.replace(marker + kLengthMarker.size(), kLengthDigits, digits);
  }
  return text;
}

void RequireSame(const std::string& got, const std::string& expected) {
  if (got == expected) return;
  const auto differ = FirstDifference(got, expected);
  throw ScriptFailure("expected " + ShowText(expected, differ) + ", got " + ShowText(got, differ));
}

}  // namespace

struct ScriptPlayer::Command {
  std::string_view name;
  std::size_t fewestWords;
  std::size_t mostWords;
  void (ScriptPlayer::*play)(const Words& words);
};

/// Word counts include the command's own.
const ScriptPlayer::Command ScriptPlayer::kCommands[] = {
    {"accept", 1, 1, &ScriptPlayer::Accept},
    {"client", 2, 2, &ScriptPlayer::SelectClient},
    {"message", 2, 4, &ScriptPlayer::SendMessage},
    {"stamped", 2, 2, &ScriptPlayer::SendStamped},
    {"send", 2, 2, &ScriptPlayer::SendBytes},
    {"pieces", 2, 3, &ScriptPlayer::SetPieces},
    {"wait", 2, 2, &ScriptPlayer::Pause},
    {"expect", 2, 2, &ScriptPlayer::ExpectBytes},
    {"expect-message", 2, 4, &ScriptPlayer::ExpectMessage},
    {"expect-stamped", 2, 2, &ScriptPlayer::ExpectStamped},
    {"expect-type", 2, 2, &ScriptPlayer::ExpectType},
    {"expect-close", 1, 1, &ScriptPlayer::ExpectClose},
    {"close", 1, 1, &ScriptPlayer::Close},
    {"reset", 1, 1, &ScriptPlayer::Reset},
};

ScriptPlayer::ScriptPlayer(const Conversation& conversation, const LineWriter& writeLine,
                           bool indented)
    : m_conversation(conversation),
      m_writeLine(writeLine),
      m_indented(indented),
      m_wait(m_io, conversation.limit),
      m_acceptor(m_io) {}

asio::error_code ScriptPlayer::Listen(std::uint16_t port) {
  const auto error = net::Listen(m_acceptor, {asio::ip::address_v4::loopback(), port});
  if (!error) m_writeLine(net::ListeningLine(m_acceptor));
  return error;
}

bool ScriptPlayer::Play() {
  for (const auto& line : m_conversation.server) {
    m_writeLine("line " + std::to_string(line.number) + ": " + line.text.substr(0, kShownLine));
    try {
      PlayLine(line);
    } catch (const ScriptFailure& failure) {
      m_writeLine("failed: " + std::string(failure.what()));
      return false;
    }
  }
  m_writeLine("stopped");
  return true;
}

void ScriptPlayer::PlayLine(const ConversationLine& line) {
  Words words;
  std::string error;
  if (!SplitWords(line.text, words, error)) throw ScriptFailure(error);
  const auto& command = FindCommand(words);
  (this->*command.play)(words);
}

const ScriptPlayer::Command& ScriptPlayer::FindCommand(const Words& words) {
  for (const auto& command : kCommands) {
    if (command.name != words.front()) continue;
    if (words.size() < command.fewestWords || words.size() > command.mostWords) {
      throw ScriptFailure("wrong number of words");
    }
    return command;
  }
  throw ScriptFailure("no such command: " + words.front());
}

ScriptPeer& ScriptPlayer::Peer() {
  if (m_current == 0) throw ScriptFailure("there is no client yet");
  return m_peers[m_current - 1];
}

void ScriptPlayer::Accept(const Words&) {
  asio::ip::tcp::socket socket(m_io);
  const auto accepted = m_wait.Await(
      m_acceptor, [&](auto handler) { m_acceptor.async_accept(socket, std::move(handler)); });
  if (accepted.error) throw ScriptFailure("cannot accept: " + accepted.error.message());
  m_peers.emplace_back(m_wait, std::move(socket));
  m_current = m_peers.size();
}

void ScriptPlayer::SelectClient(const Words& words) {
  const auto number = static_cast<std::size_t>(CountAt(words, 1));
  if (number == 0 || number > m_peers.size()) throw ScriptFailure("there is no client " + words[1]);
  m_current = number;
}

void ScriptPlayer::SendMessage(const Words& words) {
  const auto receiver = NumberAt(words, 3, kUsualClient);
  Peer().Send(m_messages.Build(words[1], DataOf(words), kServerId, receiver));
}

void ScriptPlayer::SendStamped(const Words& words) { Peer().Send(Stamped(words[1])); }

void ScriptPlayer::SendBytes(const Words& words) { Peer().Send(words[1]); }

void ScriptPlayer::SetPieces(const Words& words) {
  Peer().SetPieces(static_cast<std::size_t>(CountAt(words, 1)),
                   std::chrono::milliseconds(CountAt(words, 2)));
}

void ScriptPlayer::Pause(const Words& words) {
  m_wait.Pause(std::chrono::milliseconds(CountAt(words, 1)));
}

void ScriptPlayer::ExpectBytes(const Words& words) {
  if (!m_indented) {
    Peer().Expect(words[1]);
    return;
  }
  std::string got;
  while (got.size() < words[1].size()) got += ReceiveMessage();
  RequireSame(got, words[1]);
}

void ScriptPlayer::ExpectMessage(const Words& words) {
  const auto sender = NumberAt(words, 3, kUntoldClient);
  RequireSame(ReceiveMessage(), m_messages.Build(words[1], DataOf(words), sender, kServerId));
}

void ScriptPlayer::ExpectStamped(const Words& words) {
  RequireSame(ReceiveMessage(), Stamped(words[1]));
}

/// The next message, as it would be without indentation, which its stamp has counted.
std::string ScriptPlayer::ReceiveMessage() {
  auto frame = Peer().ReceiveFrame();
  return m_indented ? Stamped(WithoutIndentation(frame)) : frame;
}

void ScriptPlayer::ExpectType(const Words& words) {
  std::string fault;
  const auto type = m_messages.ReadType(Peer().ReceiveFrame(), fault);
  if (type != words[1]) throw ScriptFailure(type ? "got type " + Quote(*type) : fault);
}

void ScriptPlayer::ExpectClose(const Words&) { Peer().ExpectClose(); }

void ScriptPlayer::Close(const Words&) { Peer().Close(); }

void ScriptPlayer::Reset(const Words&) { Peer().Reset(); }

}  // namespace tlk::serve
