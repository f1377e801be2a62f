#pragma once

#include <winsock2.h>

#include <memory>
#include <vector>

#include "platform/Sockets.h"

namespace tlk {

/// The sockets of one control, on Winsock 2, which somebody else has started.
///
/// The system posts notifications that have ceased to be true by the time they come. The window
/// shows each of them to `Refine`. What passes:
/// - read, if bytes wait and a receive was made since the last one: in the middle of a prefix a
///   reader takes one without a byte behind it for a broken connection;
/// - write, if it is due, and connect, if the socket is open;
/// - close, once, when the last byte has been read, with the error that Wine does not tell; but one
///   without an error only if the stream has ended;
/// - an error with any other event, and an event that nobody knows.
///
/// Nothing can be read from a closed socket or written to it, but a close, an error or an unknown
/// event that was posted before still passes: the control answers it. What waits in the queue when
/// `RequestNotifications` is called is removed, because the system posts again what still holds. So
/// nothing comes after mask 0, and a socket hears nothing about an earlier one of its number.
///
/// A window passed to `RequestNotifications` must be a `WindowsControlWindow`, and there is one for
/// all sockets.
///
/// A socket that does not block takes a text whole or not at all. Windows sees to that by itself;
/// where the system takes a part only, as Wine does, the rest waits here and goes out as room
/// comes. A blocking send has one limit for that rest and for its own text. `Close`, which the
/// destructor calls for every socket, waits until it is out, or until five seconds have brought
/// none of it out; what the peer sends until then is read and dropped.
class WindowsSockets final : public Sockets {
 public:
  WindowsSockets();
  ~WindowsSockets() override;

  WindowsSockets(const WindowsSockets&) = delete;
  WindowsSockets& operator=(const WindowsSockets&) = delete;

  [[nodiscard]] SocketHandle Open() override;
  [[nodiscard]] int Connect(SocketHandle socket, const InternetAddress& address) override;
  [[nodiscard]] int Send(SocketHandle socket, std::string_view bytes) override;
  [[nodiscard]] int Receive(SocketHandle socket, std::span<char> buffer, int size) override;
  int Close(SocketHandle socket) override;
  [[nodiscard]] int EnableKeepAlive(SocketHandle socket) override;
  [[nodiscard]] int SetBlocking(SocketHandle socket) override;
  [[nodiscard]] int SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) override;
  [[nodiscard]] int SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) override;
  [[nodiscard]] std::uint32_t ParseAddress(const char* text) override;
  [[nodiscard]] std::optional<std::uint32_t> ResolveHost(const char* name) override;
  [[nodiscard]] int RequestNotifications(SocketHandle socket, ControlWindow& window,
                                         std::uint32_t message, std::uint32_t mask) override;
  [[nodiscard]] int LastError() const override { return m_lastError; }

  /// Whether a notification that has come to the window is to be delivered. Writes to `lParam` what
  /// to deliver in its place.
  [[nodiscard]] bool Refine(WPARAM wParam, LPARAM& lParam);

  /// Has everything that was asked for posted to another window from now on; null for none until
  /// the next call.
  void MoveNotifications(HWND window);

 private:
  struct State;

  State* Find(SocketHandle socket);
  int Fail(int error);
  int FailAsSystem();
  int SetOption(SocketHandle socket, int option, DWORD value);
  int SendBlocking(State& state, std::string_view bytes);
  int SendAtOnce(State& state, std::string_view bytes);
  int FailSend(State& state);

  std::vector<std::unique_ptr<State>> m_states;
  int m_lastError = 0;
};

}  // namespace tlk
