#include <bit>

#include "control/ControlBoundary.h"
#include "control/HostText.h"
#include "control/Tlkc.h"
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
    if (OpenSocket(server, port) == Outcome::kFailed || ConnectSocket() == Outcome::kFailed) {
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
    m_status = TLK_Not_Connected;
    AnnounceStatus(trace::kDisconnectedLine);
    return kResultOk;
  });
}

// Opens the socket and finds the address. When the name is unknown the socket stays open, and
// nothing tells of it: the next Connect, Disconnect or the end of the control closes it.
Outcome CTlkc::OpenSocket(std::u16string_view server, std::int32_t port) {
  auto& sockets = m_ports.sockets;
  m_server = NarrowArgument(m_ports.platform.text, server);
  if (m_socket != kInvalidSocket) CloseSocket();
  m_socket = sockets.Open();
  if (m_socket == kInvalidSocket) return Outcome::kFailed;
  m_port = port;
  m_serverAddr.family = InternetAddress::kFamily;
  m_serverAddr.port = ToNetworkOrder(static_cast<std::uint16_t>(port));
  m_serverAddr.address = sockets.ParseAddress(m_server.c_str());
  if (m_serverAddr.address == kNoAddress) {
    const auto address = sockets.ResolveHost(m_server.c_str());
    if (!address) return Outcome::kFailed;
    m_serverAddr.address = *address;
  }
  m_serverAddr.zero.fill(0);
  return Outcome::kDone;
}

Outcome CTlkc::ConnectSocket() {
  auto& sockets = m_ports.sockets;
  m_status = TLK_Resolving;
  if (sockets.Connect(m_socket, m_serverAddr) == kSocketError) {
    if (sockets.LastError() != socket_error::kWouldBlock) {
      RecordThenDrop(trace::kConnectFailed);
      return Outcome::kFailed;
    }
    LogNormal(trace::kConnectPending);
    m_ports.window.StartTimer(m_connectTimerId, m_connectTimeoutMs);
  }
  if (sockets.EnableKeepAlive(m_socket) == kSocketError) {
    RecordThenDrop(trace::kKeepAliveOptionFailed);
    return Outcome::kFailed;
  }
  if (sockets.RequestNotifications(m_socket, m_ports.window, m_notifyMsg, socket_event::kAll) ==
      kSocketError) {
    RecordThenDrop(trace::kAsyncSelectFailed);
    return Outcome::kFailed;
  }
  return Outcome::kDone;
}

void CTlkc::StartKeepAliveTimer() {
  m_ports.window.StartTimer(m_keepAliveTimerId, m_keepAliveIntervalMs);
}

}  // namespace tlk
