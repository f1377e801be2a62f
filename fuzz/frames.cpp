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
  /// A request takes the answer to a keep-alive as well, and a message that is not well-formed as
  /// an empty one. When nothing more comes it runs out of time.
  Reading(std::string_view stream, std::string_view sizes, int error, bool asks) {
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
    while ((asks || m_sockets.HasArrivals()) && m_control.m_status == TLK_Connected) {
      if (!asks) m_ports.window.Notify(m_control.m_socket, socket_event::kRead);
      if (asks) Ask();
    }
    outcome.push_back(asks && m_end == "10060" ? "" : m_end);
  }

  Outcome outcome;

 private:
  void ConnStatusChanged(TLK_ConnStatusEnum) override {}

  void Ask() {
    std::u16string type, data;
    m_control.SendReceiveTlkMsg(u"T", u"<q/>", &type, &data, 1000);
    if (type != u"Keep Connection Alive Response") TlkMsgRecieved(type, data);
  }

  void TlkMsgRecieved(std::u16string_view type, std::u16string_view data) override {
    if (type.empty() && data.empty()) return;
    outcome.push_back(std::to_string(m_control.m_clientId));
    for (const auto& text : {type, data}) outcome.emplace_back(text.begin(), text.end());
  }

  // The reason of the end is a number, whichever reader tells it: that of an error, or a bad
  // length.
  void Note(const LogRecord& record) {
    if (record.source != trace::kSourceName) {
      outcome.push_back(record.source + std::to_string(record.line));
    } else if (m_end.empty() && record.severity == 'E') {
      m_end = record.text.substr(record.text.rfind(' ') + 1);
    }
  }

  ScriptedPorts m_ports;
  test::ScriptedSockets& m_sockets = m_ports.sockets;
  OpenControl m_control{m_ports.ports, *this};
  std::string m_end;
};

void CheckReaders(std::string_view stream, std::string_view sizes, int error) {
  const Outcome notified = Reading(stream, {}, error, false).outcome;
  Outcome asked = Reading(stream, {}, error, true).outcome;
  Check(Reading(stream, sizes, error, false).outcome == notified &&
            Reading(stream, sizes, error, true).outcome == asked,
        "pieces do not matter");
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
