// The two readers of messages: the same bytes in other pieces are the same messages and the same
// end.

#include <vector>

#include "fuzz/ScriptedControl.h"

namespace tlk::fuzz {
namespace {

/// What came of a stream: its messages, what the codec said of them, and why it ended.
using Outcome = std::vector<std::string>;

class Reading final : public ITlkcEvents {
 public:
  /// Connects to a peer that sends the stream in pieces of these sizes, and what they leave as one.
  Reading(std::string_view stream, std::string_view sizes, int error) {
    m_ports.log.onRecord = [this](const LogRecord& record) { Note(record); };
    std::int32_t connected = 0;
    m_control.Connect(u"127.0.0.1", 1371, &connected);
    for (const char size : sizes.substr(0, 64)) {
      const auto piece = stream.substr(0, static_cast<unsigned char>(size) + std::size_t{1});
      if (!piece.empty()) m_sockets.Arrive(std::string(piece));
      stream.remove_prefix(piece.size());
    }
    if (!stream.empty()) m_sockets.Arrive(std::string(stream));
    if (error != 0) m_sockets.ArriveError(error);
  }

  Outcome WhenNotified() {
    while (m_sockets.HasArrivals() && m_control.m_status == TLK_Connected)
      m_ports.window.Notify(m_control.m_socket, socket_event::kRead);
    m_outcome.push_back(m_end);
    return m_outcome;
  }

  // A request takes the answer to a keep-alive as well, and a message that is not well-formed as an
  // empty one. When nothing more comes it runs out of time.
  Outcome WhenAsked() {
    while (m_control.m_status == TLK_Connected) {
      std::u16string type;
      std::u16string data;
      m_control.SendReceiveTlkMsg(u"T", u"<q/>", &type, &data, 1000);
      if (type != u"Keep Connection Alive Response") TlkMsgRecieved(type, data);
    }
    m_outcome.push_back(m_end == "10060" ? "" : m_end);
    return m_outcome;
  }

 private:
  void ConnStatusChanged(TLK_ConnStatusEnum) override {}

  void TlkMsgRecieved(std::u16string_view type, std::u16string_view data) override {
    if (type.empty() && data.empty()) return;
    m_outcome.push_back(std::to_string(m_control.m_clientId));
    for (const auto& text : {type, data}) m_outcome.emplace_back(text.begin(), text.end());
  }

  // The reason of the end is a number, whichever reader tells it: that of an error, or a bad
  // length.
  void Note(const LogRecord& record) {
    if (record.source != trace::kSourceName) {
      m_outcome.push_back(record.source + std::to_string(record.line));
    } else if (m_end.empty() && record.severity == 'E') {
      m_end = record.text.substr(record.text.rfind(' ') + 1);
    }
  }

  ScriptedPorts m_ports;
  test::ScriptedSockets& m_sockets = m_ports.sockets;
  OpenControl m_control{m_ports.ports, *this};
  Outcome m_outcome;
  std::string m_end;
};

void CheckReaders(std::string_view stream, std::string_view sizes, int error) {
  const Outcome notified = Reading(stream, {}, error).WhenNotified();
  Outcome asked = Reading(stream, {}, error).WhenAsked();
  Check(Reading(stream, sizes, error).WhenNotified() == notified,
        "pieces do not matter to notifications");
  Check(Reading(stream, sizes, error).WhenAsked() == asked, "pieces do not matter to requests");
  // A stamp below the prefix: the socket refuses to read less than nothing, but who is asked takes
  // the prefix for the message and goes on.
  if (notified.back() == "10014" && asked.size() >= notified.size()) {
    asked.resize(notified.size());
    asked.back() = notified.back();
  }
  Check(notified == asked, "both readers read the same messages and come to the same end");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr int kErrors[] = {0, tlk::socket_error::kConnectionReset,
                                    tlk::socket_error::kDisconnected};
  tlk::fuzz::Input input(data, size);
  const int error = kErrors[input.Choice(3)];
  const std::string sizes = input.Text();
  std::string stream;
  while (!input.AtEnd()) stream += tlk::fuzz::PeerBytes(input);
  std::erase(stream, '\0');
  tlk::fuzz::CheckReaders(stream, sizes, error);
  return 0;
}
