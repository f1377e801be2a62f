#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

#include "platform/posix/MessageWindow.h"
#include "platform/posix/PosixSocketState.h"
#include "platform/posix/SocketErrors.h"

namespace tlk {

namespace {

// How many notifications of bytes at hand may come between two questions to the system.
constexpr int kMostSinceWait = 16;

constexpr std::uint32_t kEnding = EPOLLRDHUP | EPOLLHUP | EPOLLERR;

std::uint64_t Pack(int descriptor, std::uint32_t number) {
  return std::uint64_t{number} << 32 | static_cast<std::uint32_t>(descriptor);
}

bool BytesWait(int descriptor) {
  int count = 0;
  return ::ioctl(descriptor, FIONREAD, &count) == 0 && count > 0;
}

int TakeSocketError(int descriptor) {
  int error = 0;
  socklen_t size = sizeof(error);
  ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
  return SocketErrorFromErrno(error);
}

}  // namespace

PosixSockets::State* PosixSockets::Find(Life life) {
  State* state = Find(static_cast<SocketHandle>(life.descriptor));
  return state != nullptr && state->number == life.number ? state : nullptr;
}

int PosixSockets::RequestNotifications(SocketHandle socket, ControlWindow& window,
                                       std::uint32_t message, std::uint32_t mask) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  auto* messageWindow = dynamic_cast<MessageWindow*>(&window);
  if (messageWindow == nullptr || &messageWindow->LoopSockets() != this) {
    return Fail(socket_error::kInvalidArgument);
  }
  state->blocking = false;
  state->receiver = messageWindow;
  state->message = message;
  state->mask = mask;
  if (mask == 0) {
    // Left in the epoll set: notifications are mostly switched on again at once.
    return 0;
  }
  state->readTold = false;
  Watch(*state);
  if (state->watched == 0 && !state->closeTold) {
    state->mask = 0;
    return FailWithErrno();
  }
  if ((mask & socket_event::kWrite) != 0 && !state->awaitingRoom && !state->writePosted) {
    if (!PostWrite(*state)) {
      state->mask = 0;
      return Fail(socket_error::kNoBufferSpace);
    }
  }
  return 0;
}

bool PosixSockets::PostWrite(State& state) try {
  m_posted.push_back(state.CurrentLife());
  return state.writePosted = true;
} catch (const std::bad_alloc&) {
  return false;
}

void PosixSockets::Forget(const NotificationReceiver& receiver) {
  for (const auto& state : m_states) {
    if (state != nullptr && state->receiver == &receiver) {
      state->receiver = nullptr;
      state->mask = 0;
    }
  }
}

void PosixSockets::Watch(State& state) {
  std::uint32_t wanted = 0;
  if (state.mask != 0 && !state.readTold && !state.closeTold) wanted |= EPOLLIN | EPOLLRDHUP;
  if ((state.mask != 0 && state.awaitingRoom) || !state.Backlog().empty()) wanted |= EPOLLOUT;
  if (state.isClosed && !state.endSeen) wanted |= EPOLLIN;
  if (wanted == state.watched) return;
  epoll_event event{.events = wanted, .data = {}};
  event.data.u64 = Pack(state.descriptor.Get(), state.number);
  const int operation = wanted == 0          ? EPOLL_CTL_DEL
                        : state.watched == 0 ? EPOLL_CTL_ADD
                                             : EPOLL_CTL_MOD;
  if (::epoll_ctl(m_epoll.Get(), operation, state.descriptor.Get(), &event) == 0) {
    state.watched = wanted;
  }
}

bool PosixSockets::WaitAndDeliver(int milliseconds) {
  bool delivered = DeliverPosted();
  delivered = DeliverAhead() || delivered;
  // What is at hand needs no question to the system, as long as other sockets do not wait for long.
  if (delivered && HasAtHand() && m_sinceWait < kMostSinceWait) return true;
  m_sinceWait = 0;
  const auto round = ++m_round;
  std::array<epoll_event, 64> events;
  const int limit = delivered || HasAtHand() ? 0 : milliseconds;
  const int count =
      ::epoll_wait(m_epoll.Get(), events.data(), static_cast<int>(events.size()), limit);
  if (count <= 0) SweepClosed();
  for (int i = 0; i < count; ++i) {
    const auto& event = events[static_cast<std::size_t>(i)];
    const Life life{static_cast<int>(event.data.u64 & 0xFFFFFFFF),
                    static_cast<std::uint32_t>(event.data.u64 >> 32)};
    delivered = OnReady(life, event.events, round) || delivered;
  }
  return delivered;
}

// Taken one at a time: a handler that runs the loop leaves the others to it, instead of keeping
// them back until it returns.
bool PosixSockets::DeliverPosted() {
  bool delivered = false;
  for (auto rest = m_posted.size(); rest > 0 && !m_posted.empty(); --rest) {
    State* state = Find(m_posted.front());
    m_posted.pop_front();
    if (state == nullptr || !state->writePosted) continue;
    state->writePosted = false;
    if ((state->mask & socket_event::kWrite) != 0 && !state->awaitingRoom) {
      delivered = true;
      Deliver(*state, socket_event::kWrite, socket_error::kNone);
    }
  }
  return delivered;
}

bool PosixSockets::HasAtHand() const {
  return !m_posted.empty() || std::any_of(m_ahead.begin(), m_ahead.end(),
                                          [](const State* state) { return state->IsReadDue(); });
}

bool PosixSockets::DeliverAhead() {
  if (m_ahead.empty()) return false;
  // A copy, because a handler may close sockets and receive on others, or even come back here.
  std::vector<Life> lives;
  lives.swap(m_aheadNow);
  try {
    lives.reserve(m_ahead.size());
  } catch (const std::bad_alloc&) {
    // Those for whom there is no room have their turn in a later round.
  }
  for (const State* state : m_ahead) {
    if (lives.size() < lives.capacity()) lives.push_back(state->CurrentLife());
  }
  bool delivered = false;
  for (const Life life : lives) {
    State* state = Find(life);
    if (state != nullptr && state->IsReadDue()) {
      delivered = true;
      state->readTold = true;
      Deliver(*state, socket_event::kRead, socket_error::kNone);
    }
  }
  lives.clear();
  lives.swap(m_aheadNow);
  return delivered;
}

bool PosixSockets::OnReady(Life life, std::uint32_t events, std::uint64_t round) {
  State* state = Find(life);
  if (state == nullptr) {
    OnClosedReady(life);
    return false;
  }
  bool delivered = false;
  if ((events & (EPOLLOUT | EPOLLHUP | EPOLLERR)) != 0) {
    delivered = OnRoom(*state);
    state = Find(life);
  }
  // What was ready before the last receive may have been taken by it; the next round tells.
  if (state != nullptr && (events & (EPOLLIN | kEnding)) != 0 && state->lastReceive < round) {
    delivered = OnReadable(*state, events) || delivered;
    state = Find(life);
  }
  if (state != nullptr) Watch(*state);
  return delivered;
}

bool PosixSockets::OnRoom(State& state) {
  if (!DrainBacklog(state) && state.error == socket_error::kNone) return false;
  if (!state.awaitingRoom) return false;
  state.awaitingRoom = false;
  if ((state.mask & socket_event::kWrite) == 0) return false;
  Deliver(state, socket_event::kWrite, socket_error::kNone);
  return true;
}

bool PosixSockets::OnReadable(State& state, std::uint32_t events) {
  // Bytes that were read ahead come first: `DeliverAhead` tells of them.
  if (state.mask == 0 || state.readTold || state.closeTold || state.ahead != nullptr) return false;
  const bool ending = (events & kEnding) != 0;
  if (!ending || BytesWait(state.descriptor.Get())) {
    state.readTold = true;
    Deliver(state, socket_event::kRead, socket_error::kNone);
    return true;
  }
  state.closeTold = true;
  int error = TakeSocketError(state.descriptor.Get());
  for (const int earlier : {state.receiveError, state.error}) {
    error = error == socket_error::kNone ? earlier : error;
  }
  Deliver(state, socket_event::kClose, error);
  return true;
}

void PosixSockets::Deliver(State& state, std::uint32_t event, int error) {
  if ((state.mask & event) == 0) return;
  ++m_sinceWait;
  const auto lParam = static_cast<std::uintptr_t>(error) << 16 | event;
  state.receiver->Notify(state.message, static_cast<std::uintptr_t>(state.descriptor.Get()),
                         lParam);
}

}  // namespace tlk
