#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "SystemDom.h"
#include "control/Tlkc.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedSockets.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedWindow.h"
#include "xml/Gate.h"

namespace tlk::test {

using Call = ScriptedSockets::Call;
using Timeline = std::vector<std::string>;

inline constexpr std::uintptr_t kConnectTimer = 0x52ED8D;
inline constexpr std::uintptr_t kKeepAliveTimer = 0x52ED92;

/// Narrow text for printing; tests speak ASCII here.
inline std::string ToNarrow(std::u16string_view wide) { return {wide.begin(), wide.end()}; }

/// A whole message as a server sends it.
inline std::string Frame(const std::string& body) {
  const std::string head = "<TLK_Message Length=\"";
  const std::string rest = "\" xmlns=\"\"" + body + "</TLK_Message>";
  auto digits = std::to_string(head.size() + 7 + rest.size());
  digits.insert(0, 7 - digits.size(), '0');
  return head + digits + rest;
}

inline std::string Frame(const std::string& type, const std::string& data, int to = 7) {
  return Frame(" Type=\"" + type + "\"><From Id=\"0\"/><To Id=\"" + std::to_string(to) + "\"/>" +
               data);
}

/// A text whose messages are written the same by every DOM.
inline std::string Bare(const std::string& text) {
  static const std::string kEnd = "</TLK_Message>";
  static const std::string kAddedEnd = kEnd + "\r\n";
  std::string bare;
  std::size_t from = 0;
  for (std::size_t end; (end = text.find(kEnd, from)) != std::string::npos;) {
    const bool added = text.compare(end, kAddedEnd.size(), kAddedEnd) == 0;
    end += added ? kAddedEnd.size() : kEnd.size();
    const std::size_t start = std::min(text.find("<TLK_Message ", from), end);
    bare += text.substr(from, start - from) + WithoutIndentation(text.substr(start, end - start));
    from = end;
  }
  return bare + text.substr(from);
}

/// What failures leave, one after the other: "RECORD>LINE|RECORD>LINE" stands for the record of
/// each, then the end of the connection on that line.
inline Timeline Failures(const std::string& text) {
  Timeline all;
  std::istringstream failures(text);
  for (std::string failure; std::getline(failures, failure, '|');) {
    const auto arrow = failure.find('>');
    all.push_back(failure.substr(0, arrow));
    all.push_back("N0 " + failure.substr(arrow + 1) + " Status changed. Disconnected.\n");
    all.emplace_back("event status 0");
  }
  return all;
}

/// The events of a control, put on the timeline, and what a host does inside them.
class HostEvents final : public ITlkcEvents {
 public:
  explicit HostEvents(Timeline& timeline) : m_timeline(timeline) {}

  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    m_timeline.push_back("event status " + std::to_string(status));
    if (onStatus) onStatus();
  }

  void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) override {
    m_timeline.push_back("event message [" + ToNarrow(messageType) + "] [" +
                         WithoutIndentation(ToNarrow(message)) + "]");
    if (onMessage) onMessage();
  }

  std::function<void()> onStatus;
  std::function<void()> onMessage;

 private:
  Timeline& m_timeline;
};

/// A control whose state a test can see and set.
class OpenControl final : public CTlkc {
 public:
  using CTlkc::CTlkc;
  using CTlkc::m_clientId;
  using CTlkc::m_expectedLength;
  using CTlkc::m_keepAliveIntervalMs;
  using CTlkc::m_maxPendingOut;
  using CTlkc::m_pendingOut;
  using CTlkc::m_recvText;
  using CTlkc::m_serverAddr;
  using CTlkc::m_socket;
  using CTlkc::m_status;
};

/// A control on scripted ports. Its records ("E2 150 Connect Failed. Err num = 10061") and its
/// events
/// ("event status 0") stand on one timeline, in the order in which they happened.
class ControlFixture : public testing::Test {
 protected:
  ControlFixture() {
    log.onRecord = [this](const LogRecord& record) {
      if (record.source == "Tlkc") {
        EXPECT_EQ(record.message, 101U);
        EXPECT_EQ(record.module, strings.TheModule());
        timeline.push_back(std::string(1, record.severity) + std::to_string(record.level) + " " +
                           std::to_string(record.line) + " " + Bare(record.text));
      }
    };
    control = std::make_unique<OpenControl>(ports, events);
  }

  void ConnectQuietly() {
    std::int32_t connected = 0;
    ASSERT_EQ(control->Connect(u"127.0.0.1", 1371, &connected), kResultOk);
    ASSERT_EQ(connected, 1);
    timeline.clear();
  }

  bool Notify(std::uint32_t event, int error = 0) {
    return window.Notify(control->m_socket, event, error);
  }

  /// Lets bytes arrive as one chunk and delivers read notifications while any wait.
  void ArriveAndRead(const std::string& bytes) {
    sockets.Arrive(bytes);
    while (sockets.HasArrivals() && control->m_status == TLK_Connected) {
      Notify(socket_event::kRead);
    }
  }

  Timeline timeline;
  ScriptedSockets sockets;
  ScriptedWindow window;
  ScriptedStringTable strings;
  ScriptedSurroundings surroundings;
  ScriptedFiles files;
  RecordingLogger log;
  Platform platform{SystemPlatform().text, strings, SystemPlatform().synchronisation, surroundings,
                    files};
  DomThread domThread;
  SystemDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  ControlPorts ports{sockets, window, platform, dom, gate, log};
  HostEvents events{timeline};
  std::unique_ptr<OpenControl> control;
};

}  // namespace tlk::test
