#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "SystemDom.h"
#include "tests/scripted/ScriptedControl.h"
#include "transport/Framing.h"
#include "transport/TraceLog.h"

namespace tlk::test {

inline constexpr std::uintptr_t kConnectTimer = 0x52ED8D;
inline constexpr std::uintptr_t kKeepAliveTimer = 0x52ED92;

/// Narrow text for printing; tests speak ASCII here.
inline std::string ToNarrow(std::u16string_view wide) { return {wide.begin(), wide.end()}; }

/// A whole message as a server sends it, or, with the ids the other way round, a control.
inline std::string Frame(const std::string& type, const std::string& data, int to = 7,
                         int from = 0) {
  const std::string rest = "\" xmlns=\"\" Type=\"" + type + "\"><From Id=\"" +
                           std::to_string(from) + "\"/><To Id=\"" + std::to_string(to) + "\"/>" +
                           data + "</TLK_Message>";
  const auto stamp = std::to_string(10'000'000 + 28 + rest.size());
  return "<TLK_Message Length=\"" + stamp.substr(1) + rest;
}

/// A text whose messages are written the same by every DOM.
inline std::string Bare(std::string text) {
  std::string bare;
  for (std::size_t at; (at = text.find("<TLK_Message ")) != std::string::npos;) {
    const auto length = static_cast<std::size_t>(GetMessageLength(text.substr(at)));
    bare += text.substr(0, at) + WithoutIndentation(text.substr(at, length));
    text.erase(0, at + length);
  }
  return bare + text;
}

/// What is told of the end of a connection, behind what is told of its reason.
inline std::string Ended(const std::string& reason, int line) {
  return reason + "|N0 " + std::to_string(line) + " Status changed. Disconnected.\n|status 0|";
}

/// What is told of a failure that ends the connection.
inline std::string Ended(const TraceFailure& failure, const std::string& number = "") {
  const auto& [line, text] = failure.reason;
  return Ended("E2 " + std::to_string(line) + " " + text + number, failure.droppedLine);
}

// How things stand with a control that is connected, and with one that is not.
inline const std::string kStands = "status 3, 1 open, keep-alive timer";
inline const std::string kIsOver = "status 0, 0 open";

/// The events of a control, told one after the other, and what a host does inside them.
struct HostEvents final : ITlkcEvents {
  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    told += "status " + std::to_string(status) + "|";
    onStatus();
  }

  void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) override {
    told += ToNarrow(messageType) + ": " + WithoutIndentation(ToNarrow(message)) + "|";
    onMessage();
  }

  std::string told;
  std::function<void()> onStatus = [] {};
  std::function<void()> onMessage = [] {};
};

/// A control on scripted ports. Its records ("E2 150 Connect Failed. Err num = 10061|") and its
/// events ("status 0|", "Type: <Data/>|") are told in the order in which they happened.
struct ControlFixture : testing::Test, DomThread, ScriptedPorts<SystemDomFactory> {
  ControlFixture() {
    log.onRecord = [this](const LogRecord& record) {
      if (record.source != "Tlkc") return;
      EXPECT_EQ(record.message, 101U);
      EXPECT_EQ(record.module, strings.TheModule());
      events.told += record.severity + std::to_string(record.level) + " " +
                     std::to_string(record.line) + " " + Bare(record.text) + "|";
    };
  }

  static constexpr int kUnwritten = -77;

  /// What `Connect` writes: 1, 0, or nothing when it fails.
  int Connect(std::u16string_view server = u"127.0.0.1", std::int32_t port = 1371) {
    std::int32_t connected = kUnwritten;
    const auto result = control->Connect(server, port, &connected);
    EXPECT_EQ(result, connected == kUnwritten ? kResultFail : kResultOk);
    return connected;
  }

  /// A new connection, of which nothing has been told.
  void ConnectQuietly() {
    control->Disconnect();
    EXPECT_EQ(Connect(), 1);
    events.told.clear();
  }

  void Notify(std::uint32_t event, int error = 0) {
    EXPECT_TRUE(window.Notify(control->m_socket, event, error));
  }

  /// Lets bytes arrive as one piece and delivers read notifications while any wait.
  void Read(const std::string& bytes) {
    sockets.Arrive(bytes);
    while (sockets.HasArrivals() && sockets.IsOpen(control->m_socket)) Notify(socket_event::kRead);
  }

  /// What has been told since the last look, and how things stand now.
  std::string Look() {
    EXPECT_EQ(sockets.IsOpen(control->m_socket), control->m_socket != kInvalidSocket);
    auto look = std::exchange(events.told, "") + "status " + std::to_string(control->m_status) +
                ", " + std::to_string(sockets.OpenCount()) + " open";
    if (window.Runs(kConnectTimer)) look += ", connect timer";
    if (window.Runs(kKeepAliveTimer)) look += ", keep-alive timer";
    const auto held = control->m_recvText.size();
    const auto expected = control->m_expectedLength;
    if (held > 0 || expected != -1)
      look += ", holds " + std::to_string(held) + " of " + std::to_string(expected);
    return control->m_pendingOut.empty() ? look : look + ", queued " + Bare(control->m_pendingOut);
  }

  HostEvents events;
  std::unique_ptr<OpenControl> control = std::make_unique<OpenControl>(ports, events);
};

}  // namespace tlk::test
