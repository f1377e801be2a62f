#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "platform/Export.h"

namespace tlk {

class ControlWindow;

/// A socket as the platform numbers it. All ones means "no socket".
/// @{
using SocketHandle = std::uintptr_t;
inline constexpr SocketHandle kInvalidSocket = ~SocketHandle{0};
/// @}

/// Result of a socket call that failed; `Sockets::LastError` then tells why.
inline constexpr int kSocketError = -1;

/// Error numbers of socket calls. They are the same on every platform, because the trace log shows
/// them: a platform that numbers its errors differently translates them once, behind `Sockets`.
namespace socket_error {
inline constexpr int kNone = 0;                     ///< No failure.
inline constexpr int kAccess = 10013;               ///< Not permitted.
inline constexpr int kFault = 10014;                ///< A buffer that is not the caller's.
inline constexpr int kInvalidArgument = 10022;      ///< Something that cannot be asked for now.
inline constexpr int kTooManySockets = 10024;       ///< No more sockets to be had.
inline constexpr int kWouldBlock = 10035;           ///< Not now; a notification tells when.
inline constexpr int kInProgress = 10036;           ///< A call is still under way.
inline constexpr int kNotASocket = 10038;           ///< Not open, or no socket.
inline constexpr int kOptionUnknown = 10042;        ///< An option that the system does not know.
inline constexpr int kAddressInUse = 10048;         ///< The local address is taken.
inline constexpr int kAddressNotAvailable = 10049;  ///< No address that can be connected to.
inline constexpr int kNetworkDown = 10050;          ///< The network is down.
inline constexpr int kNetworkUnreachable = 10051;   ///< No way to the network.
inline constexpr int kConnectionAborted = 10053;    ///< Ended by this side's system.
inline constexpr int kConnectionReset = 10054;      ///< Ended by the peer's system.
inline constexpr int kNoBufferSpace = 10055;        ///< The system lacks memory.
inline constexpr int kIsConnected = 10056;          ///< Connected already.
inline constexpr int kNotConnected = 10057;         ///< Not connected.
inline constexpr int kTimedOut = 10060;             ///< The time ran out.
inline constexpr int kConnectionRefused = 10061;    ///< Nobody listens there.
inline constexpr int kHostUnreachable = 10065;      ///< No way to the host.
inline constexpr int kDisconnected = 10101;         ///< The stream has ended.
inline constexpr int kHostNotFound = 11001;         ///< No host of that name.
inline constexpr int kTryAgain = 11002;             ///< The name cannot be looked up now.
}  // namespace socket_error

/// Events of a socket, as bits of a notification mask and as the low half of a notification.
namespace socket_event {
inline constexpr std::uint32_t kRead = 1;      ///< Bytes wait.
inline constexpr std::uint32_t kWrite = 2;     ///< There is room for more.
inline constexpr std::uint32_t kConnect = 16;  ///< The connection is set up.
inline constexpr std::uint32_t kClose = 32;    ///< The peer is done.
inline constexpr std::uint32_t kAll = kRead | kWrite | kConnect | kClose;  ///< All of them.
}  // namespace socket_event

/// The address that is no address: what `Sockets::ParseAddress` gives for text it cannot read.
inline constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

/// An IPv4 socket address in the layout of the socket interface.
struct InternetAddress {
  /// What `family` is for IPv4.
  static constexpr std::uint16_t kFamily = 2;

  std::uint16_t family = kFamily;      ///< Always `kFamily`.
  std::uint16_t port = 0;              ///< In network byte order.
  std::uint32_t address = kNoAddress;  ///< In network byte order.
  std::array<std::uint8_t, 8> zero{};  ///< Nothing; the layout has it.
};
static_assert(sizeof(InternetAddress) == 16);

/// TCP sockets and the notifications about them.
///
/// A `Sockets` and the sockets it opens belong to one thread. Calls that can fail return 0 (or a
/// count) for success and `kSocketError` for failure; `LastError` then holds the number. A call on
/// a handle that is not open fails with 10038. Nothing here raises a signal or throws.
///
/// A new socket blocks. While notifications are asked for it does not, and whoever wants it to
/// block again switches them off first and then calls `SetBlocking`.
///
/// Notifications (`RequestNotifications`) reach the window's target on this thread, and only while
/// the window's platform dispatches them, never from inside a call of this class:
/// - Read is delivered when bytes wait; after it, not again until a receive has been made on that
///   socket; if bytes still wait then, it is delivered again. It is never delivered when nothing
///   waits: a reader may treat a would-block after it as a fault.
/// - Write is delivered once when notifications are asked for on a connected socket, then only
///   after a send has reported would-block and room has come back.
/// - Close is delivered once, after everything the peer sent has been read, with the error number
///   if the peer reset the connection.
/// - Where the system itself reports an error with an event, it is delivered as it comes.
/// - A request with mask 0 ends delivery. So does closing, for what asks for a call on the socket:
///   read, write, connect. A close or an error that the system had posted by then may still come,
///   until a socket of the same number makes a request.
class TLKC2_API Sockets {
 public:
  virtual ~Sockets() = default;

  /// Opens a TCP socket for IPv4; `kInvalidSocket` when there is none to be had.
  [[nodiscard]] virtual SocketHandle Open() = 0;

  /// Connects, blocking until the server accepts or refuses.
  [[nodiscard]] virtual int Connect(SocketHandle socket, const InternetAddress& address) = 0;

  /// Sends up to all of `bytes`; returns how many were taken. A socket that does not block takes
  /// all of them or reports would-block, unless memory runs short.
  [[nodiscard]] virtual int Send(SocketHandle socket, std::string_view bytes) = 0;

  /// Receives up to `size` bytes into `buffer`; returns how many came, 0 at the end of the stream.
  /// A size that is negative or larger than the buffer touches no memory and fails with 10014. At
  /// the end of the stream a blocking socket returns 0 once and then fails with 10101, so that
  /// whoever reads on after a 0 comes to an end.
  [[nodiscard]] virtual int Receive(SocketHandle socket, std::span<char> buffer, int size) = 0;

  /// Closes the socket. Bytes that `Send` has taken still go out.
  virtual int Close(SocketHandle socket) = 0;

  /// Switches TCP keep-alive probes on.
  [[nodiscard]] virtual int EnableKeepAlive(SocketHandle socket) = 0;

  /// Makes the socket block. Fails with 10022 while notifications are on.
  [[nodiscard]] virtual int SetBlocking(SocketHandle socket) = 0;

  /// Limits every later blocking send, in milliseconds; 0 means no limit.
  [[nodiscard]] virtual int SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) = 0;

  /// Limits every later blocking receive, in milliseconds; 0 means no limit. One that runs out
  /// fails with 10060.
  [[nodiscard]] virtual int SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) = 0;

  /// Reads a dotted IPv4 address, in network byte order; `kNoAddress` when the text is none, and
  /// for 255.255.255.255 as well.
  [[nodiscard]] virtual std::uint32_t ParseAddress(const char* text) = 0;

  /// Looks a host name up, blocking; its first IPv4 address in network byte order.
  [[nodiscard]] virtual std::optional<std::uint32_t> ResolveHost(const char* name) = 0;

  /// Asks that the events in `mask` be posted to the window as `message`, and makes the socket
  /// non-blocking. Mask 0 ends delivery. Fails with 10022 when the window does not exist.
  [[nodiscard]] virtual int RequestNotifications(SocketHandle socket, ControlWindow& window,
                                                 std::uint32_t message, std::uint32_t mask) = 0;

  /// The number of the last failure on this thread; a call that succeeds leaves it alone.
  [[nodiscard]] virtual int LastError() const = 0;
};

}  // namespace tlk
