#pragma once

#include <array>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <utility>

#include "log/LogQueue.h"
#include "log/QNLogger.h"
#include "platform/posix/PosixAnsiText.h"
#include "tests/control/ControlFixture.h"
#include "tests/log/LogFixture.h"
#include "tests/scripted/ScarceMemory.h"
#include "tests/scripted/ScriptedDom.h"
#include "tests/scripted/ScriptedSynchronisation.h"

namespace tlk::test {

enum Kind { kMemory, kWriterMemory, kSockets, kFiles, kDom, kThreads, kNothing };

/// What fails: the nth call of a kind. `how` is the number it fails with, or, of memory, how often
/// it is refused.
struct Fault {
  const char* what = "";
  Kind kind = kNothing;
  int how = 0;
  int nth = 0;

  friend void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.what; }
};

/// What came of a conversation.
struct Outcome {
  Timeline host;     ///< Events, and what calls gave.
  std::string sent;  ///< What the server got.
  int refusals = 0;  ///< Ends, calls that told of a failure, and what was not done for an end.
  int records = 0;   ///< In the log; `errors` of them tell of one.
  int errors = 0;
  std::string shown;       ///< On standard output.
  bool hasFailed = false;  ///< Whether the call that was to fail was made.
};

/// One control with its log, on ports of which one call fails, and its host. The code page is as
/// new.
class Stage final : public ITlkcEvents {
 public:
  Stage(const std::string& codePage, const Fault& fault) : m_fault(fault), m_text(codePage) {
    pugi::set_memory_management_functions(AllocateScarce, FreeScarce);
    testing::internal::CaptureStdout();
    m_files.answer = [this](FileCall call, std::string_view text) {
      return FailsOrIsNoted(call, text) ? std::optional<std::int64_t>(m_fault.how) : std::nullopt;
    };
    sockets.anyError = fault.how;
    if (fault.kind <= kWriterMemory) {
      m_limits[fault.kind].Set(fault.nth - 1, fault.how);
    } else {
      Counter().Fail(fault.nth);
    }
    m_strings.texts[{m_strings.TheModule(), 101}] = "%s";
    m_log = std::make_unique<QNLogger>("TLK_Client.log", 4, m_platform);
    const auto limit = [](void* set, auto...) { t_memoryLimit = static_cast<MemoryLimit*>(set); };
    m_log->SetThreadStartHook(limit, &m_limits[kWriterMemory]);
    m_log->SetRotation(400, 4);   // Within each conversation.
    m_log->SetMaxQueueSize(400);  // It holds producers back.
    const ControlPorts ports{sockets, m_window, m_platform, m_dom, m_gate, *m_log};
    m_control = std::make_unique<OpenControl>(ports, *this);
  }

  // What the queue of the process keeps for the next line is not the stage's own.
  ~Stage() override {
    m_control.reset();
    m_log->Rest();
    m_log.reset();
    m_threads.WaitForThreads();
    LineBatch left;
    QueueGauge gauge;
    LogQueue::OfProcess()->TakeAll(left, gauge, 0);
    EXPECT_EQ(sockets.OpenCount(), 0U);
  }

  bool IsConnected() const { return m_control->m_status == TLK_Connected; }

  void Connect(std::u16string_view server = u"127.0.0.1") {
    std::int32_t value = 0;
    const auto result = Within(m_memory, [&] { return m_control->Connect(server, 1371, &value); });
    if (value == 0) ++m_outcome.refusals;
    Note("connect " + std::to_string(value), result);
  }

  void Disconnect() {
    Note("disconnect", Within(m_memory, [&] { return m_control->Disconnect(); }));
  }

  // After a send that would have blocked, the system tells of room.
  void Send(std::u16string_view type) {
    if (IsTooLate()) return;
    const auto send = [&] { return m_control->SendTLKMsg(type, u"<a>some text, \u00E9</a>"); };
    Note("send", Within(m_memory, send));
    for (int i = 0; i < 3; ++i) Notify(socket_event::kWrite);
  }

  void Request() {
    if (IsTooLate()) return;
    std::u16string type, data;
    const auto ask = [&] { return m_control->SendReceiveTlkMsg(u"Ask", u"", &type, &data, 100); };
    const auto result = Within(m_memory, ask);
    Note("request " + ToNarrow(type) + " " + ToNarrow(data), result);
  }

  void Arrive(const std::string& bytes) {
    if (IsTooLate()) return;
    sockets.Arrive(bytes);
    for (int i = 0; i < 100 && sockets.HasArrivals(); ++i) Notify(socket_event::kRead);
  }

  void IdleForAMinute() {
    Within(m_memory, [this] { m_window.Advance(60000); });
    Notify(socket_event::kWrite);
  }

  void Notify(std::uint32_t event, int error = 0) {
    if (!IsTooLate())
      Within(m_memory, [&] { return m_window.Notify(m_control->m_socket, event, error); });
  }

  ScriptedSockets sockets;

  // A writer that met the fault may have stopped at it; the next line makes it go on.
  Outcome Heal() {
    m_log->Write(kLastLine);
    EXPECT_TRUE(Eventually([this] { return HasFailed() || m_hasLastLine; }));
    m_outcome.hasFailed = HasFailed();
    for (MemoryLimit& limit : m_limits) limit.Set(-1, 0);
    Counter().Fail(0);
    m_log->SetConsoleEcho(false);
    m_log->Write(kLastLine);
    m_log->Rest();
    m_outcome.shown = testing::internal::GetCapturedStdout();
    m_outcome.sent = std::exchange(sockets.sent, "");
    return m_outcome;
  }

  void CheckState() const {
    EXPECT_EQ(m_control->m_status, m_announced);
    EXPECT_EQ(sockets.OpenCount(), m_control->m_socket == kInvalidSocket ? 0U : 1U);
    const std::string& last = m_outcome.host.back();
    // Only an unknown name leaves a socket behind.
    EXPECT_TRUE(m_control->m_socket == kInvalidSocket || IsConnected() || last == "connect 0");
    // A request leaves the timer alone, also when it ends the connection.
    EXPECT_EQ(m_window.Runs(kKeepAliveTimer), IsConnected() || last.starts_with("request"));
  }

  // What is left of an incomplete message may cost the first of two connections.
  void CheckNewConnection() {
    for (int attempt = m_control->m_recvText.empty() ? 1 : 0; attempt < 2; ++attempt) {
      Disconnect();
      sockets.ForgetArrivals();
      m_outcome.host.clear();
      Connect();
      Send(u"Later");
      Arrive(Frame("New", "<Data><n/></Data>"));
    }
    EXPECT_THAT(m_outcome.host, testing::ElementsAre("status 3", "connect 1", "send",
                                                     "message New <Data><n/></Data>"));
    EXPECT_THAT(sockets.sent, testing::HasSubstr("Type=\"Later\""));
  }

 private:
  static constexpr const char* kLastLine = "The end";

  // The counter of the calls that fail; when memory does, or nothing, it has nothing to count.
  NthCall& Counter() {
    if (m_fault.kind == kSockets) return sockets.anyCall;
    if (m_fault.kind == kDom) return m_scriptedDom.script.anyCall;
    return m_fault.kind == kThreads ? m_threads.anyCall : m_fileCall;
  }

  bool HasFailed() {
    return m_limits[kMemory].hasRefused || m_limits[kWriterMemory].hasRefused ||
           Counter().HasCome();
  }

  bool FailsOrIsNoted(FileCall call, std::string_view text) {
    if (m_fileCall.IsThis()) return true;
    if (call != FileCall::kAppend) return false;
    if (text.find(") E ") != std::string_view::npos) ++m_outcome.errors;
    if (!text.starts_with("-")) ++m_outcome.records;  // No marker.
    if (text.ends_with(kLastLine)) m_hasLastLine = true;
    return false;
  }

  void Note(const std::string& what, ResultCode result) {
    m_outcome.host.push_back(what + (result == kResultOk ? "" : " failed"));
    if (result != kResultOk) ++m_outcome.refusals;
  }

  bool IsTooLate() { return !IsConnected() && ++m_outcome.refusals > 0; }

  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    const PlentyOfMemory plenty;
    m_announced = status;
    if (status == TLK_Not_Connected) ++m_outcome.refusals;
    m_outcome.host.push_back("status " + std::to_string(status));
  }

  void TlkMsgRecieved(std::u16string_view type, std::u16string_view message) override {
    const PlentyOfMemory plenty;
    m_outcome.host.push_back("message " + ToNarrow(type) + " " + ToNarrow(message));
  }

  const Fault m_fault;
  const PosixAnsiText m_text;
  Outcome m_outcome;
  std::array<MemoryLimit, 2> m_limits;
  MemoryLimit& m_memory = m_limits[kMemory];
  NthCall m_fileCall;
  std::atomic<bool> m_hasLastLine{false};
  TLK_ConnStatusEnum m_announced = TLK_Not_Connected;
  ScriptedWindow m_window;
  ScriptedStringTable m_strings;
  ScriptedSurroundings m_surroundings;
  ScriptedFiles m_files;
  ScriptedSynchronisation m_threads;
  const Platform m_platform{m_text, m_strings, m_threads, m_surroundings, m_files};
  SystemDomFactory m_realDom{m_text};
  ScriptedDomFactory m_scriptedDom{m_realDom};
  DomFactory& m_dom = m_fault.kind == kDom ? static_cast<DomFactory&>(m_scriptedDom) : m_realDom;
  XmlGate m_gate{m_text};
  std::unique_ptr<QNLogger> m_log;
  std::unique_ptr<OpenControl> m_control;
};

}  // namespace tlk::test
