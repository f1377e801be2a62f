#include <bit>

#include "control/ControlBoundary.h"
#include "control/FiringScope.h"
#include "control/Tlkc.h"
#include "platform/AnsiText.h"
#include "transport/TraceLog.h"

namespace tlk {

namespace {

std::uint16_t ToNetworkOrder(std::uint16_t value) {
  if constexpr (std::endian::native == std::endian::little) {
    return static_cast<std::uint16_t>(value << 8 | value >> 8);
  }
  return value;
}

}  // namespace

ResultCode CTlkc::Connect(std::u16string_view server, std::int32_t port, std::int32_t* pVal) {
  const auto connect = [&] {
    if (m_status != TLK_Not_Connected) return kResultFail;
    if (!OpenSocket(server, port) || !ConnectSocket()) {
      *pVal = 0;
      return kResultOk;
    }
    m_status = TLK_Connected;
    AnnounceStatus(trace::kConnectedLine);
    StartKeepAliveTimer();
    *pVal = 1;
    return kResultOk;
  };
  return AtControlBoundary(m_ports.window, connect, [this] { OnOutOfMemory(); });
}

ResultCode CTlkc::Disconnect() {
  return AtControlBoundary(m_ports.window, [&] {
    // The connect timer is left alone: if it runs, it only stops itself.
    m_ports.window.StopTimer(m_keepAliveTimerId);
    LogNormal(trace::kDisconnectRequested);
    if (m_socket != kInvalidSocket) CloseSocket();
    EndConnection(trace::kDisconnectedLine);
    return kResultOk;
  });
}

// Opens the socket and finds the address. When the name is unknown the socket stays open, and
// nothing tells of it: the next Connect, Disconnect or the end of the control closes it.
bool CTlkc::OpenSocket(std::u16string_view server, std::int32_t port) {
  auto& sockets = m_ports.sockets;
  m_server = NarrowArgument(server);
  if (m_socket != kInvalidSocket) CloseSocket();
  m_socket = sockets.Open();
  if (m_socket == kInvalidSocket) return false;
  m_port = port;
  m_serverAddr.family = InternetAddress::kFamily;
  m_serverAddr.port = ToNetworkOrder(static_cast<std::uint16_t>(port));
  m_serverAddr.address = sockets.ParseAddress(m_server.c_str());
  if (m_serverAddr.address == kNoAddress) {
    const auto address = sockets.ResolveHost(m_server.c_str());
    if (!address) return false;
    m_serverAddr.address = *address;
  }
  m_serverAddr.zero.fill(0);
  return true;
}

bool CTlkc::ConnectSocket() {
  auto& sockets = m_ports.sockets;
  m_status = TLK_Resolving;
  if (sockets.Connect(m_socket, m_serverAddr) == kSocketError) {
    if (sockets.LastError() != socket_error::kWouldBlock) {
      return DropOnFailure(trace::kConnectFailed);
    }
    LogNormal(trace::kConnectPending);
    m_ports.window.StartTimer(m_connectTimerId, m_connectTimeoutMs);
  }
  if (sockets.EnableKeepAlive(m_socket) == kSocketError) {
    return DropOnFailure(trace::kKeepAliveOptionFailed);
  }
  if (sockets.RequestNotifications(m_socket, m_ports.window, m_notifyMsg, socket_event::kAll) ==
      kSocketError) {
    return DropOnFailure(trace::kAsyncSelectFailed);
  }
  return true;
}

// For a socket call that has just failed. Unlike a reader, tells the reason before it closes the
// socket.
bool CTlkc::DropOnFailure(const TraceFailure& failure) {
  LogError(failure.reason, m_ports.sockets.LastError());
  DropConnection(failure.droppedLine);
  return false;
}

void CTlkc::CloseSocket() {
  m_ports.sockets.Close(m_socket);
  m_socket = kInvalidSocket;
}

void CTlkc::DropConnection(int line) {
  CloseSocket();
  EndConnection(line);
}

// A request leaves the keep-alive timer alone, also when it ends the connection: the next tick then
// announces the end once more.
void CTlkc::EndConnection(int line) {
  m_socket = kInvalidSocket;
  m_status = TLK_Not_Connected;
  AnnounceStatus(line);
}

void CTlkc::DropOnError(int error, std::span<const ErrorFailure> known,
                        const TraceFailure& unknown) {
  for (const auto& entry : known) {
    if (entry.error == error) {
      LogError(entry.failure.reason);
      DropConnection(entry.failure.droppedLine);
      return;
    }
  }
  CloseSocket();
  LogError(unknown.reason, error);
  EndConnection(unknown.droppedLine);
}

void CTlkc::AnnounceStatus(int line) {
  if (m_firingStatus) return;
  const FiringScope firing(m_firingStatus);
  const bool connected = m_status == TLK_Connected;
  LogNormal(TraceRecord{line, connected ? trace::kConnectedText : trace::kDisconnectedText});
  m_events.ConnStatusChanged(m_status);
}

void CTlkc::StartKeepAliveTimer() {
  m_ports.window.StartTimer(m_keepAliveTimerId, m_keepAliveIntervalMs);
}

std::string CTlkc::NarrowArgument(std::u16string_view argument) const {
  std::string narrow;
  m_ports.platform.text.Narrow(argument.substr(0, argument.find(u'\0')), narrow);
  return narrow;
}

}  // namespace tlk
