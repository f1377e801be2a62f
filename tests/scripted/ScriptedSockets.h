#pragma once

#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Sockets.h"
#include "tests/scripted/MemoryLimit.h"
#include "tests/scripted/NthCall.h"

namespace tlk::test {

/// Sockets that do what a test says: every call can be made to fail with any number, a send to take
/// any number of bytes, a receive to give any bytes. A call on a socket that is not open fails with
/// 10038, as everywhere.
class ScriptedSockets final : public Sockets {
 public:
  /// Makes a call of that name fail, once so many that nothing was said about have gone well.
  void Fail(std::string_view call, int error, std::size_t after = 0) {
    auto& errors = m_errors[call];
    errors.insert(errors.end(), after, 0);
    errors.push_back(error);
  }
  /// Makes the next send take so many bytes of what it is given.
  void TakeOnly(std::size_t count) { m_room = count; }
  /// Lets bytes arrive: one receive gives at most these, and the next what it left of them.
  void Arrive(std::string bytes) { m_arrivals.emplace_back(std::move(bytes), 0); }
  /// Lets a receive that comes to this point fail.
  void ArriveError(int error) { m_arrivals.emplace_back("", error); }
  void ForgetArrivals() { m_arrivals.clear(); }
  [[nodiscard]] bool HasArrivals() const { return !m_arrivals.empty(); }

  [[nodiscard]] bool IsOpen(SocketHandle socket) const { return m_open.contains(socket); }
  [[nodiscard]] std::size_t OpenCount() const { return m_open.size(); }

  /// Of all calls, of whatever kind; the one that is to fail fails with `anyError`.
  NthCall anyCall;
  int anyError = 0;
  /// Address that host names have; unset, no name is known.
  std::optional<std::uint32_t> hostAddress;
  /// Called with the name of each call on a socket, before it has an effect.
  std::function<void(std::string_view)> onCall = [](std::string_view) {};

  /// Each call of an open socket, with its numbers: "SetSendTimeout 250".
  std::vector<std::string> calls;
  std::string sent;
  std::string lookedUp;
  InternetAddress connectedTo;
  std::uint32_t mask = 0;
  bool blocking = true;

  SocketHandle Open() override {
    const PlentyOfMemory plenty;
    if (Next("Open") != 0) return kInvalidSocket;
    m_open.insert(++m_lastHandle);
    blocking = true;
    return m_lastHandle;
  }

  int Connect(SocketHandle socket, const InternetAddress& address) override {
    connectedTo = address;
    return Answer("Connect", socket);
  }

  int Send(SocketHandle socket, std::string_view bytes) override {
    const PlentyOfMemory plenty;
    if (Answer("Send", socket) != 0) return kSocketError;
    bytes = bytes.substr(0, std::exchange(m_room, std::string_view::npos));
    sent += bytes;
    return static_cast<int>(bytes.size());
  }

  int Receive(SocketHandle socket, std::span<char> buffer, int size) override {
    const PlentyOfMemory plenty;
    if (Answer("Receive", socket, {size}) != 0) return kSocketError;
    const auto room = static_cast<std::size_t>(size);
    if (size < 0 || room > buffer.size()) return FailWith(socket_error::kFault);
    if (size == 0) return 0;
    if (m_arrivals.empty())
      return FailWith(blocking ? socket_error::kTimedOut : socket_error::kWouldBlock);
    auto& [bytes, error] = m_arrivals.front();
    const auto count = static_cast<int>(bytes.copy(buffer.data(), room));
    const int result = error == 0 ? count : FailWith(error);
    bytes.erase(0, room);
    if (bytes.empty()) m_arrivals.pop_front();
    return result;
  }

  int Close(SocketHandle socket) override {
    const bool wasOpen = m_open.erase(socket) == 1;  // Whatever it answers then.
    if (anyCall.IsThis()) return FailWith(anyError);
    return wasOpen ? 0 : FailWith(socket_error::kNotASocket);
  }

  int EnableKeepAlive(SocketHandle socket) override { return Answer("EnableKeepAlive", socket); }

  int SetBlocking(SocketHandle socket) override {
    const int result = Answer("SetBlocking", socket);
    blocking = blocking || result == 0;
    return result;
  }

  int SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) override {
    return Answer("SetSendTimeout", socket, {milliseconds});
  }

  int SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) override {
    return Answer("SetReceiveTimeout", socket, {milliseconds});
  }

  std::uint32_t ParseAddress(const char* text) override {
    if (anyCall.IsThis()) return kNoAddress;
    return std::string_view(text) == "127.0.0.1" ? 0x0100007F : kNoAddress;
  }

  std::optional<std::uint32_t> ResolveHost(const char* name) override {
    const PlentyOfMemory plenty;
    if (anyCall.IsThis()) return std::nullopt;
    lookedUp = name;
    return hostAddress;
  }

  int RequestNotifications(SocketHandle socket, ControlWindow& /*window*/, std::uint32_t message,
                           std::uint32_t newMask) override {
    const int result = Answer("RequestNotifications", socket, {message, newMask});
    if (result == 0) mask = newMask;
    blocking = blocking && result != 0;
    return result;
  }

  int LastError() const override { return m_lastError; }

 private:
  int FailWith(int error) { return m_lastError = error, kSocketError; }

  int Next(std::string_view call) {
    if (anyCall.IsThis()) return FailWith(anyError);
    auto& errors = m_errors[call];
    if (errors.empty()) return 0;
    const int error = errors.front();
    errors.pop_front();
    return error == 0 ? 0 : FailWith(error);
  }

  int Answer(std::string_view call, SocketHandle socket,
             std::initializer_list<std::int64_t> numbers = {}) {
    const PlentyOfMemory plenty;
    onCall(call);
    const int scripted = Next(call);
    if (!IsOpen(socket)) return scripted == 0 ? FailWith(socket_error::kNotASocket) : scripted;
    calls.emplace_back(call);
    for (const auto number : numbers) calls.back() += " " + std::to_string(number);
    return scripted;
  }

  std::map<std::string_view, std::deque<int>> m_errors;
  std::size_t m_room = std::string_view::npos;  // of the next send
  std::deque<std::pair<std::string, int>> m_arrivals;
  std::set<SocketHandle> m_open;
  SocketHandle m_lastHandle = 100;
  int m_lastError = 0;
};

}  // namespace tlk::test
