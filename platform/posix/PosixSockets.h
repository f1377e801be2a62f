#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/Sockets.h"
#include "platform/posix/OwnedDescriptor.h"

namespace tlk {

class NotificationReceiver;
class ReadAhead;

/// The sockets of one thread, on BSD sockets and one epoll set.
///
/// A descriptor always blocks as far as the system knows; whether a call may wait is said call by
/// call, so that going back and forth between the two ways costs nothing. A call that may not wait
/// is never interrupted.
///
/// A socket that does not block takes a text whole or not at all: what the system does not take of
/// it waits here and goes out as room comes, even after the socket is closed: while the loop runs,
/// for up to 30 seconds without progress; when this object, its thread or the program (by `exit`)
/// ends, that end waits for it, up to 5 seconds without progress.
///
/// A small receive takes more from the system than it was asked for and keeps the rest, so that a
/// stream of small messages costs few system calls. Whoever receives or is notified sees no
/// difference. Only a socket with such bytes holds a buffer.
class PosixSockets final : public Sockets {
 public:
  PosixSockets();
  ~PosixSockets() override;

  PosixSockets(const PosixSockets&) = delete;
  PosixSockets& operator=(const PosixSockets&) = delete;

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

  /// Waits up to `milliseconds` (no limit when negative) for something to deliver and delivers one
  /// round. Returns whether anything was delivered.
  bool WaitAndDeliver(int milliseconds);

  /// Readable when the system has something for `WaitAndDeliver`. What `HasAtHand` tells of does
  /// not make it so.
  [[nodiscard]] int WaitDescriptor() const { return m_epoll.Get(); }
  /// Whether there is something to deliver of which the system knows nothing.
  [[nodiscard]] bool HasAtHand() const;

  /// Ends delivery to a window that ceases to exist.
  void Forget(const NotificationReceiver& receiver);

 private:
  struct State;
  struct OfThread;
  /// Tells a socket from a later one that the system gave the same descriptor.
  struct Life {
    int descriptor;
    std::uint32_t number;
  };

  State* Find(SocketHandle socket);
  State* Find(Life life);
  int Fail(int error);
  int FailWithErrno();
  int SendBlocking(State& state, std::string_view bytes);
  int SendAtOnce(State& state, std::string_view bytes);
  std::ptrdiff_t SendNow(State& state, std::string_view bytes, int& error);
  bool DrainBacklog(State& state);
  std::size_t TakeAhead(State& state, std::span<char> out);
  int ReceiveFirst(State& state, std::span<char> wanted);
  int ReceiveBehind(State& state, std::span<char> wanted, std::size_t held);
  std::ptrdiff_t ReceiveWaiting(State& state, std::span<char> wanted);
  std::ptrdiff_t ReceiveNow(State& state, std::span<char> out);
  ReadAhead* SpareAhead();
  void HoldAhead(State& state);
  void ReleaseAhead(State& state);

  void Watch(State& state);
  bool PostWrite(State& state);
  void Linger(std::unique_ptr<State> closed);
  bool HasGoneOut(State& state);
  bool BringOut(State& state);
  void OnClosedReady(Life life);
  void SweepClosed();
  void BringOutRest() noexcept;
  bool DeliverPosted();
  bool DeliverAhead();
  bool OnReady(Life life, std::uint32_t events, std::uint64_t round);
  bool OnRoom(State& state);
  bool OnReadable(State& state, std::uint32_t events);
  void Deliver(State& state, std::uint32_t event, int error);

  PosixSockets* m_next = nullptr;  // of those that this thread has made
  const pid_t m_process;
  OwnedDescriptor m_epoll;
  std::vector<std::unique_ptr<State>> m_states;     // by descriptor
  std::vector<std::unique_ptr<State>> m_lingering;  // closed, with bytes still to go out
  std::deque<Life> m_posted;                        // sockets with a write notification to deliver
  std::vector<State*> m_ahead;                      // sockets that hold bytes read ahead
  std::vector<Life> m_aheadNow;                     // room for the list of one round of delivery
  std::unique_ptr<ReadAhead> m_spareAhead;          // the empty buffer for the next receive
  int m_sinceWait = 0;                              // notifications since the system was asked
  std::uint32_t m_lives = 0;
  std::uint64_t m_round = 0;
  int m_lastError = 0;
};

}  // namespace tlk
