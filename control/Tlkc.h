#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "control/Outcome.h"
#include "platform/ControlWindow.h"
#include "platform/Export.h"
#include "platform/Platform.h"
#include "platform/Sockets.h"
#include "platform/StringTable.h"
#include "xml/Codec.h"
#include "xml/Dom.h"

namespace tlk {

class TLK_XMLBuilder;
class XmlGate;
class iLogger;
struct TraceFailure;
struct TraceRecord;
struct ErrorFailure;

/// The most bytes that a host may let wait: one send of all of them must be able to count them.
inline constexpr std::size_t kMaxPendingOutput = 2'000'000'000;

/// Status of a connection. Only `TLK_Not_Connected` and `TLK_Connected` are ever announced;
/// `TLK_Resolving` lasts as long as the connect call inside `Connect`, and `TLK_Connecting` is
/// never entered.
enum TLK_ConnStatusEnum : std::int32_t {
  TLK_Not_Connected = 0,
  TLK_Resolving = 1,
  TLK_Connecting = 2,
  TLK_Connected = 3,
};

/// Result code of an automation method: success, failure, or a lack of memory.
/// @{
using ResultCode = std::int32_t;
inline constexpr ResultCode kResultOk = 0;
inline constexpr ResultCode kResultFail = static_cast<ResultCode>(0x80004005);
inline constexpr ResultCode kResultOutOfMemory = static_cast<ResultCode>(0x8007000E);
/// @}

/// What a control tells its host. Called on the control's thread, from inside the call or the
/// notification that caused it, so a handler may call the control back, and may let go of it:
/// whoever is inside the control holds what its window holds (`ControlWindow::Hold`). A handler
/// must not throw.
class TLKC2_API ITlkcEvents {
 public:
  virtual ~ITlkcEvents() = default;

  /// The connection has been set up (`TLK_Connected`), or there is none (`TLK_Not_Connected`): it
  /// ended, could not be set up, or something was asked of it that needs one.
  virtual void ConnStatusChanged(TLK_ConnStatusEnum status) = 0;

  /// A message has come. `message` is its serialised `Data` element, tags included, or empty. The
  /// texts live as long as the call. (The name is spelt so: hosts bind to it.)
  virtual void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) = 0;
};

/// What a control stands on. It refers to its parts and owns none; they outlive the control.
struct ControlPorts {
  Sockets& sockets;          ///< Those of the control's thread.
  ControlWindow& window;     ///< The control's alone.
  const Platform& platform;  ///< The ports of the process.
  DomFactory& dom;           ///< What makes documents.
  const XmlGate& gate;       ///< What lets texts in.
  iLogger& log;              ///< The trace log.
};

/// One connection to a message server.
///
/// The host connects, sends, and hears back through `ITlkcEvents`. Failures never show as result
/// codes, except that `Connect` fails while there is a connection: the host learns of them from
/// `pVal`, from `ConnStatusChanged` and from the trace log. Nothing reconnects by itself.
///
/// Wire: messages lie back to back, each one XML document whose root carries its own length in
/// bytes (transport/Framing.h). The first message that arrives tells the control its client id. A
/// connection that was idle for a minute is kept alive with a message of its own.
///
/// Threads: everything runs on the thread of the window: the methods, the notifications, the
/// timers, the events. Nothing is locked. One flag per event guards against raising it inside
/// itself: a status that changes inside a status handler is not announced again, and a message that
/// completes inside a message handler is skipped, for good.
///
/// Output pointers must not be null, but for one with a default. No method throws. One that runs
/// out of memory says so with `kResultOutOfMemory`; `Connect`, `SendReceiveTlkMsg` and a
/// notification end the connection then.
class TLKC2_API CTlkc : private WindowTarget {
 public:
  /// A control without a connection. `events` outlives it, as what `ports` refers to does.
  CTlkc(const ControlPorts& ports, ITlkcEvents& events);

  /// Closes the connection silently: no event, no record.
  virtual ~CTlkc();

  CTlkc(const CTlkc&) = delete;
  CTlkc& operator=(const CTlkc&) = delete;

  /// Connects to a host name or dotted address, blocking until the server accepts or refuses.
  /// Writes 1 to `pVal` when the connection is set up, 0 when that failed; the change has been
  /// announced by then. Fails when the control is not disconnected. `pVal` is written with
  /// `kResultOk` and with nothing else. An unknown host name announces and records nothing.
  ResultCode Connect(std::u16string_view server, std::int32_t port, std::int32_t* pVal);

  /// Ends the connection and announces it, even when there is none. What was queued for sending,
  /// and what was received of an incomplete message, stays for the next connection.
  ResultCode Disconnect();

  /// Writes the status to `pVal`. Always succeeds.
  ResultCode ConnectionStatus(TLK_ConnStatusEnum* pVal) const;

  /// Queues a message and sends what the socket takes. `data` is one well-formed XML element;
  /// anything else is left out of the message. Always succeeds; what could not be sent stays
  /// queued, beyond the end of the connection.
  ResultCode SendTLKMsg(std::u16string_view message, std::u16string_view data);

  /// Sends a message and waits for the next one from the server, whatever it is. `timeOutMS` limits
  /// each socket call by itself, 0 means no limit. Always succeeds; `recMsg` (the type) and
  /// `recData` (the serialised `Data` element) are written, both, only when a reply was read, and
  /// `wasAnswered` tells whether they were. An exchange that fails or runs out of time ends the
  /// connection.
  ResultCode SendReceiveTlkMsg(std::u16string_view sndMsg, std::u16string_view sndData,
                               std::u16string* recMsg, std::u16string* recData,
                               std::int32_t timeOutMS, bool* wasAnswered = nullptr);

 protected:
  std::intptr_t OnSocketNotify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam,
                               bool& handled) override;
  void OnTimer(std::uintptr_t timerId) override;

 private:
  void SetLogFolder();

  // The connection
  Outcome OpenSocket(std::u16string_view server, std::int32_t port);
  Outcome ConnectSocket();
  void HandleNotification(std::uint32_t event, int error);
  void OnSocketEvent(std::uint32_t event);
  void StartKeepAliveTimer();

  // How it ends: the socket is closed and the change announced, with the record of the reason
  // before the close or behind it, as readers of the log know it
  void CloseSocket();
  void DropConnection(int line);
  void RecordThenDrop(const TraceFailure& failure);
  void CloseThenRecord(const TraceFailure& failure, int error);
  void DropOnError(int error, std::span<const ErrorFailure> known, const TraceFailure& unknown);
  void OnOutOfMemory();
  void AnnounceStatus(int line);

  // Messages in: one reader for notifications, one that blocks for a reply
  Outcome ReadMessage();
  Outcome ReadPrefix();
  Outcome ReadRestOfPrefix();
  Outcome BeginMessage(const TraceRecord& invalid);
  Outcome ReadBody();
  Outcome ReadMessageBlocking(std::string& type, std::string& data);
  Outcome ReadBlockingPrefix(std::span<char> prefix);
  Outcome ReadBlockingBody();
  std::string TakeMessage();
  void ForgetMessage();
  Outcome AbandonMessage(const TraceFailure& failure);

  [[nodiscard]] Codec MessageCodec() const;
  void HandleMessage(std::string text);
  Outcome ParseMessage(std::string text, std::string& type, std::string& data);
  void RaiseMessage(const std::string& type, const std::string& data);

  // Messages out
  Outcome BuildMessage(std::u16string_view message, std::u16string_view data, std::string& text);
  Outcome FinishMessage(TLK_XMLBuilder& builder, std::string& text);
  Outcome FlushPendingOutput();
  Outcome Exchange(const std::string& request, std::int32_t timeOutMS, std::string& type,
                   std::string& data);
  void SendKeepAlive();

  void LogNormal(const TraceRecord& record);
  void LogNormal(const TraceRecord& record, std::int32_t number);
  void LogNormal(const TraceRecord& record, std::string_view text);
  void LogError(const TraceRecord& record);
  void LogError(const TraceRecord& record, std::int64_t number);

 protected:
  /// What it stands on, and its state, for who derives from it.
  /// @{
  const ControlPorts m_ports;
  ITlkcEvents& m_events;

  TLK_ConnStatusEnum m_status = TLK_Not_Connected;
  SocketHandle m_socket = kInvalidSocket;
  InternetAddress m_serverAddr;
  std::string m_server;
  std::int32_t m_port = 1371;
  std::uint32_t m_notifyMsg = 0;
  std::uintptr_t m_connectTimerId = 0x52ED8D;
  std::uint32_t m_connectTimeoutMs = 60000;
  std::uintptr_t m_keepAliveTimerId = 0x52ED92;
  std::uint32_t m_keepAliveIntervalMs = 60000;
  bool m_firingStatus = false;
  bool m_firingMessage = false;
  std::string m_pendingOut;
  std::size_t m_maxPendingOut = kMaxPendingOutput;
  std::string m_recvText;
  std::int32_t m_expectedLength = -1;
  std::int32_t m_clientId = -1;
  ModuleHandle m_module = nullptr;
  /// @}
};

}  // namespace tlk
