#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "control/NativeControl.h"

namespace tlk::soak {

inline void Check(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

/// How a connection ends. The server closes it for a message beyond its limit, which resets it when
/// there is more of the message to come.
enum class Way { kDisconnect, kControlDestroyed, kServerCloses, kServerResets };
inline constexpr int kWays = 4;
inline constexpr std::size_t kServerLimit = 20'000;

/// A host whose control has one connection after another. On each it sends numbered messages, in
/// bursts and as requests, and compares what comes back.
class SoakClient final : public ITlkcEvents {
 public:
  SoakClient(MessageLoop& loop, std::uint16_t port) : m_loop(loop), m_port(port) {}

  /// Connects, to send so many messages and to end in that way.
  void Begin(int messages, Way way) {
    // What a reset connection has left unsent would go out first on the next one.
    if (!m_control || m_way == Way::kServerResets) m_control.emplace(m_loop, *this);
    m_end = m_sent + messages;
    m_way = way;
    m_isEnding = m_isDone = false;
    std::int32_t isConnected = 0;
    (*m_control)->Connect(u"127.0.0.1", m_port, &isConnected);
    Check(isConnected == 1, "a control does not connect");
  }

  /// Does what is next if everything that was sent has come back. Tells whether it did something.
  bool Step() {
    Check(m_isTrue, "a message came back that was not sent, or the connection ended too early");
    if (m_isEnding || m_received < m_sent) return false;
    if (m_sent == m_end) return End();
    if (m_sent % kBurst == 0) return Request();
    do {
      (*m_control)->SendTLKMsg(Type(m_sent), Body(m_sent));
    } while (++m_sent < m_end && m_sent % kBurst != 0);
    return true;
  }

  [[nodiscard]] bool IsDone() const { return m_isDone; }
  /// How many messages have come as events.
  [[nodiscard]] int Heard() const { return m_heard; }

 private:
  static constexpr int kBurst = 10;
  static constexpr std::int32_t kTimeOut = 60'000;

  static std::u16string Type(int number) {
    const std::string digits = std::to_string(number);
    return u"<\u00e9 & " + std::u16string(digits.begin(), digits.end());
  }
  // Mostly small; one of ten is larger, and one of a hundred large.
  static std::u16string Body(int number) {
    const int size = number % 100 == 15 ? 15'000 : number % 10 == 3 ? 2'000 : number % 80;
    return u"<a>\u00e9&lt;" + std::u16string(static_cast<std::size_t>(size), u'x') + u"</a>";
  }
  bool Request() {
    std::u16string type;
    std::u16string data;
    const int number = m_sent++;
    (*m_control)->SendReceiveTlkMsg(Type(number), Body(number), &type, &data, kTimeOut);
    Take(type, data);
    return true;
  }

  bool End() {
    m_isEnding = true;
    if (m_way == Way::kDisconnect) (*m_control)->Disconnect();
    if (m_way == Way::kServerCloses) SendTooLong(kServerLimit + 2'000);
    if (m_way == Way::kServerResets) SendTooLong(5 * kServerLimit);
    if (m_way != Way::kControlDestroyed) return true;
    m_control.reset();
    return m_isDone = true;
  }

  void SendTooLong(std::size_t size) {
    (*m_control)->SendTLKMsg(u"Long", u"<a>" + std::u16string(size, u'x') + u"</a>");
  }

  void Take(std::u16string_view type, std::u16string_view data) {
    m_isTrue &= type == Type(m_received) && data == u"<Data>" + Body(m_received) + u"</Data>";
    ++m_received;
  }

  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    if (status == TLK_Connected) return;
    m_isTrue &= m_isEnding;
    m_isDone = true;
  }
  void TlkMsgRecieved(std::u16string_view type, std::u16string_view data) override {
    ++m_heard;
    Take(type, data);
  }

  MessageLoop& m_loop;
  const std::uint16_t m_port;
  std::optional<NativeControl> m_control;
  Way m_way = Way::kDisconnect;
  int m_end = 0;
  int m_sent = 0;
  int m_received = 0;
  int m_heard = 0;
  bool m_isTrue = true;
  bool m_isEnding = false;
  bool m_isDone = true;
};

}  // namespace tlk::soak
