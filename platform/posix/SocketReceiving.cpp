#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "platform/posix/CallLimit.h"
#include "platform/posix/PosixSocketState.h"
#include "platform/posix/PosixSockets.h"
#include "platform/posix/ReadAhead.h"
#include "platform/posix/SocketErrors.h"

namespace tlk {

int PosixSockets::Receive(SocketHandle socket, std::span<char> buffer, int size) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (size < 0 || static_cast<std::size_t>(size) > buffer.size()) return Fail(socket_error::kFault);
  state->lastReceive = m_round;
  if (state->readTold) {
    state->readTold = false;
    Watch(*state);
  }
  const auto wanted = buffer.first(static_cast<std::size_t>(size));
  const std::size_t held = TakeAhead(*state, wanted);
  if (state->ahead != nullptr || (held > 0 && held == wanted.size())) return static_cast<int>(held);
  return held > 0 ? ReceiveBehind(*state, wanted, held) : ReceiveFirst(*state, wanted);
}

// With bytes in hand: adds what waits behind them. How the stream ends is the next call's business;
// an error, which the system reports only once, is kept for it.
int PosixSockets::ReceiveBehind(State& state, std::span<char> wanted, std::size_t held) {
  const auto count = ReceiveNow(state, wanted.subspan(held));
  if (count < 0 && errno != EAGAIN) state.receiveError = SocketErrorFromErrno(errno);
  return static_cast<int>(held) + static_cast<int>(std::max<std::ptrdiff_t>(count, 0));
}

int PosixSockets::ReceiveFirst(State& state, std::span<char> wanted) {
  if (state.receiveError != socket_error::kNone) {
    return Fail(std::exchange(state.receiveError, socket_error::kNone));
  }
  const auto count = state.blocking ? ReceiveWaiting(state, wanted) : ReceiveNow(state, wanted);
  if (count < 0) return FailWithErrno();
  if (count == 0 && !wanted.empty() && state.blocking) {
    if (state.endSeen) return Fail(socket_error::kDisconnected);
    state.endSeen = true;
  }
  return static_cast<int>(count);
}

std::ptrdiff_t PosixSockets::ReceiveWaiting(State& state, std::span<char> wanted) {
  const CallLimit limit(state.receiveTimeout);
  while (limit.WaitFor(state.descriptor.Get(), POLLIN)) {
    const auto count = ReceiveNow(state, wanted);
    if (count >= 0 || errno != EAGAIN) return count;
  }
  errno = ETIMEDOUT;
  return -1;
}

// Receives what the system has, and ahead if `out` is small. Returns how many bytes there are in
// `out`, or -1 with `errno` set.
std::ptrdiff_t PosixSockets::ReceiveNow(State& state, std::span<char> out) {
  ReadAhead* const ahead = out.size() < ReadAhead::kRoom ? SpareAhead() : nullptr;
  const auto room = ahead != nullptr ? ahead->Room() : out;
  const ssize_t count = ::recv(state.descriptor.Get(), room.data(), room.size(), MSG_DONTWAIT);
  if (ahead == nullptr || count <= 0) return count;
  ahead->Fill(static_cast<std::size_t>(count));
  const std::size_t taken = ahead->Take(out);
  if (!ahead->IsEmpty()) HoldAhead(state);
  return static_cast<std::ptrdiff_t>(taken);
}

std::size_t PosixSockets::TakeAhead(State& state, std::span<char> out) {
  if (state.ahead == nullptr) return 0;
  const std::size_t taken = state.ahead->Take(out);
  if (state.ahead->IsEmpty()) ReleaseAhead(state);
  return taken;
}

// The buffer for the next receive; null when there is no memory for one, and then nothing is read
// ahead. Room in the list of its holders is made now, so that giving it away cannot fail.
ReadAhead* PosixSockets::SpareAhead() try {
  if (m_spareAhead == nullptr) {
    m_ahead.reserve(m_ahead.size() + 1);
    m_spareAhead = std::make_unique_for_overwrite<ReadAhead>();
  }
  return m_spareAhead.get();
} catch (const std::bad_alloc&) {
  return nullptr;
}

void PosixSockets::HoldAhead(State& state) {
  state.ahead = std::move(m_spareAhead);
  m_ahead.push_back(&state);
}

void PosixSockets::ReleaseAhead(State& state) {
  if (state.ahead != nullptr) {
    m_spareAhead = std::move(state.ahead);
    // Mostly the one that came last.
    m_ahead.erase(std::next(std::find(m_ahead.rbegin(), m_ahead.rend(), &state)).base());
  }
}

}  // namespace tlk
