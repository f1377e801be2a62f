// The two readers of messages: the same bytes in other pieces are the same messages with the same
// end.

#include <algorithm>
#include <vector>

#include "fuzz/ScriptedControl.h"
#include "platform/AnsiText.h"
#include "transport/MessageTypes.h"
#include "transport/TraceLog.h"

namespace tlk::fuzz {
namespace {

using Pieces = std::vector<std::string>;

// A stamp shorter than the prefix: one reader asks the socket for less than nothing and is refused,
// the other takes the prefix for the message and goes on.
const std::string kTooShort = "error 10014";

/// What came of a stream: the messages and complaints in their order, and its end.
struct Outcome {
  std::vector<std::string> story;
  std::string end;
  std::string held;  ///< What is left of a message that is not whole yet.

  bool operator==(const Outcome&) const = default;
};

/// Reads a stream in one of the two ways.
class Reading final : public ITlkcEvents {
 public:
  Reading(const Pieces& pieces, int error) {
    m_ports.log.onRecord = [this](const LogRecord& record) { Note(record); };
    std::int32_t connected = 0;
    m_control.Connect(u"127.0.0.1", 1371, &connected);
    Check(connected == 1, "the scripted connection stands");
    for (const auto& piece : pieces) m_sockets.Arrive(piece);
    if (error != 0) m_sockets.ArriveError(error);
  }

  Outcome WhenNotified() {
    while (m_sockets.HasArrivals() && IsConnected())
      m_ports.window.Notify(m_control.m_socket, socket_event::kRead);
    if (IsConnected()) m_outcome.end = "alive";
    m_outcome.held = std::to_string(m_control.m_expectedLength) + m_control.m_recvText;
    return WithId();
  }

  Outcome WhenAsked() {
    while (IsConnected()) {
      std::u16string type;
      std::u16string data;
      m_control.SendReceiveTlkMsg(u"T", u"", &type, &data, 1000);
      // A keep-alive's answer is handed out, and a message that is not well-formed as an empty one.
      if (type != Wide(kKeepAliveResponse)) TlkMsgRecieved(type, data);
    }
    if (m_outcome.end == "error 10060") m_outcome.end = "alive";
    return WithId();
  }

 private:
  bool IsConnected() const { return m_control.m_status == TLK_Connected; }

  Outcome WithId() {
    m_outcome.story.push_back("id " + std::to_string(m_control.m_clientId));
    return m_outcome;
  }

  void ConnStatusChanged(TLK_ConnStatusEnum) override {}

  void TlkMsgRecieved(std::u16string_view type, std::u16string_view data) override {
    if (type.empty() && data.empty()) return;
    std::string message;
    SystemPlatform().text.Narrow(std::u16string(type).append(u"|").append(data), message);
    m_outcome.story.push_back(message);
  }

  void Note(const LogRecord& record) {
    const auto is = [&](const auto&... known) { return ((record.line == known.line) || ...); };
    if (record.source != trace::kSourceName) {
      m_outcome.story.push_back(record.source + std::to_string(record.line));
    } else if (is(trace::kInvalidLength, trace::kInvalidPrefixLength,
                  trace::kBlockingInvalidLength)) {
      EndWith("invalid ", record.text);
    } else if (is(trace::kReceiveFailed.reason, trace::kPrefixFailed.reason,
                  trace::kBodyFailed.reason, trace::kBlockingPrefixFailed.reason,
                  trace::kBlockingBodyFailed.reason)) {
      EndWith("error ", record.text);
    }
  }

  void EndWith(std::string what, const std::string& text) {
    Check(m_outcome.end.empty(), "a stream ends once");
    m_outcome.end = what.append(text.substr(text.rfind(' ') + 1));
  }

  test::ScriptedSockets m_sockets;
  ScriptedPorts m_ports{m_sockets};
  OpenControl m_control{m_ports.ports, *this};
  Outcome m_outcome;
};

// Cuts a stream into pieces of the sizes given; what they leave is one piece.
Pieces Cut(std::string_view stream, std::string_view sizes) {
  Pieces pieces;
  for (const char size : sizes.substr(0, 64)) {
    const auto piece = stream.substr(0, static_cast<unsigned char>(size) + std::size_t{1});
    if (!piece.empty()) pieces.emplace_back(piece);
    stream.remove_prefix(piece.size());
  }
  if (!stream.empty()) pieces.emplace_back(stream);
  return pieces;
}

void CheckReaders(const std::string& stream, const std::string& sizes, int error) {
  const Pieces whole = Cut(stream, {});
  const Pieces pieces = Cut(stream, sizes);
  Outcome notified = Reading(whole, error).WhenNotified();
  Outcome asked = Reading(whole, error).WhenAsked();
  Check(Reading(pieces, error).WhenNotified() == notified, "pieces do not matter to notifications");
  Check(Reading(pieces, error).WhenAsked() == asked, "pieces do not matter to requests");
  if (notified.end == kTooShort) {
    notified.story.pop_back();  // The id, which the other may have learnt from what follows.
    asked.story.resize(std::min(asked.story.size(), notified.story.size()));
    asked.end = notified.end;
  }
  Check(notified.story == asked.story, "both readers read the same messages");
  Check(notified.end == asked.end, "both readers come to the same end");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  static constexpr int kErrors[] = {0, tlk::socket_error::kConnectionReset,
                                    tlk::socket_error::kDisconnected};
  const int error = kErrors[input.Choice(3)];
  const std::string sizes = input.Text();
  std::string stream;
  while (!input.AtEnd()) stream += PeerBytes(input);
  std::erase(stream, '\0');
  CheckReaders(stream, sizes, error);
  return 0;
}
