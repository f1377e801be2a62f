#include "tools/tlk/serve/ScriptPlayer.h"

#include <optional>
#include <utility>

#include "tools/tlk/Printable.h"
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

std::int32_t NumberAt(const Arguments& words, std::size_t at, std::int32_t usual) {
  return at < words.size() ? words[at].Signed() : usual;
}

std::optional<std::string_view> DataOf(const Arguments& words) {
  constexpr std::size_t kData = 1;
  return kData < words.size() ? std::optional<std::string_view>(words[kData].text) : std::nullopt;
}

void RequireSame(const std::string& got, const std::string& expected) {
  if (got == expected) return;
  const auto differ = FirstDifference(got, expected);
  throw ScriptFailure("expected " + ShowText(expected, differ) + ", got " + ShowText(got, differ));
}

}  // namespace

constexpr WordForm kType = {"TYPE", WordKind::kText};
constexpr WordForm kData = {"DATA", WordKind::kText};
constexpr WordForm kText = {"TEXT", WordKind::kText};
constexpr WordForm kMilliseconds = {"MS", WordKind::kNumber, 0};

const std::array<ScriptPlayer::Command, 14> ScriptPlayer::kCommands = {{
    {{"accept", 0}, &ScriptPlayer::Accept},
    {{"client", 1, {{{"N", WordKind::kNumber, 1}}}}, &ScriptPlayer::SelectClient},
    {{"message", 1, {{kType, kData, {"TO_ID", WordKind::kNumber}}}, {}, true},
     &ScriptPlayer::SendMessage},
    {{"stamped", 1, {{kText}}}, &ScriptPlayer::SendStamped},
    {{"send", 1, {{kText}}}, &ScriptPlayer::SendBytes},
    {{"pieces", 1, {{{"N", WordKind::kNumber, 0}, {"PAUSE_MS", WordKind::kNumber, 0}}}, {}, true},
     &ScriptPlayer::SetPieces},
    {{"wait", 1, {{kMilliseconds}}}, &ScriptPlayer::Pause},
    {{"expect", 1, {{kText}}}, &ScriptPlayer::ExpectBytes},
    {{"expect-message", 1, {{kType, kData, {"FROM_ID", WordKind::kNumber}}}, {}, true},
     &ScriptPlayer::ExpectMessage},
    {{"expect-stamped", 1, {{kText}}}, &ScriptPlayer::ExpectStamped},
    {{"expect-type", 1, {{kType}}}, &ScriptPlayer::ExpectType},
    {{"expect-close", 0}, &ScriptPlayer::ExpectClose},
    {{"close", 0}, &ScriptPlayer::Close},
    {{"reset", 0}, &ScriptPlayer::Reset},
}};

ScriptPlayer::ScriptPlayer(const Conversation& conversation, const LineWriter& writeLine,
                           bool indented)
    : m_conversation(conversation),
      m_writeLine(writeLine),
      m_indented(indented),
      m_wait(m_io, conversation.limit),
      m_acceptor(m_io) {}

void ScriptPlayer::Check(const Conversation& conversation) {
  std::int64_t clients = 0;
  for (const auto& line : conversation.server) {
    // Long fills make no difference here, and would make columns wrong.
    const LineWords words(line);
    const auto matched = MatchLine(kCommands, words);
    const auto play = matched.entry->play;
    if (play == &ScriptPlayer::Accept) {
      ++clients;
    } else if (play == &ScriptPlayer::SelectClient && matched.arguments[0].number > clients) {
      words.Fail(1, "there is no client " + words.Words()[1] + " yet: expected at most " +
                        std::to_string(clients));
    } else if (clients == 0 && play != &ScriptPlayer::Pause) {
      words.Fail(0, "there is no client yet: expected accept");
    }
  }
}

asio::error_code ScriptPlayer::Listen(const asio::ip::tcp::endpoint& where) {
  const auto error = net::Listen(m_acceptor, where);
  if (!error) m_writeLine(net::ListeningLine(m_acceptor));
  return error;
}

bool ScriptPlayer::Play() {
  for (const auto& line : m_conversation.server) {
    m_writeLine("line " + std::to_string(line.number) + ": " +
                Printable(std::string_view(line.text).substr(0, kShownLine)));
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

void ScriptPlayer::PlayLine(const ScriptLine& line) {
  const auto filled = WithFills(line);
  const auto matched = MatchLine(kCommands, LineWords(filled));
  (this->*matched.entry->play)(matched.arguments);
}

ScriptPeer& ScriptPlayer::Peer() { return m_peers[m_current - 1]; }

void ScriptPlayer::Accept(const Arguments&) {
  asio::ip::tcp::socket socket(m_io);
  const auto accepted = m_wait.Await(
      m_acceptor, [&](auto handler) { m_acceptor.async_accept(socket, std::move(handler)); });
  if (accepted.error) throw ScriptFailure("cannot accept: " + Printable(accepted.error.message()));
  m_peers.emplace_back(m_wait, std::move(socket));
  m_current = m_peers.size();
}

void ScriptPlayer::SelectClient(const Arguments& words) {
  m_current = static_cast<std::size_t>(words[0].number);
}

void ScriptPlayer::SendMessage(const Arguments& words) {
  const auto message = Messages::Write(m_messages.Compose(words[0].text, DataOf(words)), kServerId,
                                       NumberAt(words, 2, kUsualClient));
  if (message.size() > kMaxMessageLength) {
    throw ScriptFailure(std::to_string(message.size()) + " bytes are too many for a message");
  }
  Peer().Send(message);
}

void ScriptPlayer::SendStamped(const Arguments& words) { Peer().Send(Stamped(words[0].text)); }

void ScriptPlayer::SendBytes(const Arguments& words) { Peer().Send(words[0].text); }

void ScriptPlayer::SetPieces(const Arguments& words) {
  Peer().SetPieces(static_cast<std::size_t>(words[0].number),
                   std::chrono::milliseconds(NumberAt(words, 1, 0)));
}

void ScriptPlayer::Pause(const Arguments& words) {
  m_wait.Pause(std::chrono::milliseconds(words[0].number));
}

void ScriptPlayer::ExpectBytes(const Arguments& words) {
  if (!m_indented) {
    Peer().Expect(words[0].text);
    return;
  }
  std::string got;
  while (got.size() < words[0].text.size()) got += ReceiveMessage();
  RequireSame(got, words[0].text);
}

void ScriptPlayer::ExpectMessage(const Arguments& words) {
  const auto sender = NumberAt(words, 2, kUntoldClient);
  RequireSame(ReceiveMessage(),
              m_messages.BuildAsClient(words[0].text, DataOf(words), sender, kServerId));
}

void ScriptPlayer::ExpectStamped(const Arguments& words) {
  RequireSame(ReceiveMessage(), Stamped(words[0].text));
}

/// The next message, as it would be without indentation, which its stamp has counted.
std::string ScriptPlayer::ReceiveMessage() {
  auto frame = Peer().ReceiveFrame();
  return m_indented ? Stamped(WithoutIndentation(frame)) : frame;
}

void ScriptPlayer::ExpectType(const Arguments& words) {
  std::string fault;
  const auto message = m_messages.Read(Peer().ReceiveFrame(), fault);
  if (!message) throw ScriptFailure(fault);
  if (message->type != words[0].text) throw ScriptFailure("got type " + Quote(message->type));
}

void ScriptPlayer::ExpectClose(const Arguments&) { Peer().ExpectClose(); }

void ScriptPlayer::Close(const Arguments&) { Peer().Close(); }

void ScriptPlayer::Reset(const Arguments&) { Peer().Reset(); }

}  // namespace tlk::serve
