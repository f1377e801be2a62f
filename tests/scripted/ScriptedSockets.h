#pragma once

#include <deque>
#include <map>
#include <set>
#include <string>
#include <variant>

#include "platform/Sockets.h"

namespace tlk::test {

/// Sockets that do what a test says: every call can be made to fail with any number, a send to take
/// any number of bytes, a receive to give any bytes. A call on a socket that is not open fails with
/// 10038, as everywhere.
class ScriptedSockets : public Sockets {
 public:
  enum class Call {
    kOpen,
    kConnect,
    kSend,
    kReceive,
    kEnableKeepAlive,
    kSetBlocking,
    kSetSendTimeout,
    kSetReceiveTimeout,
    kRequestNotifications,
  };

  /// Makes the next calls of that kind that nothing was said about yet go well, `count` of them.
  void Allow(Call call, int count = 1) {
    for (int i = 0; i < count; ++i) m_errors[call].push_back(0);
  }
  /// Makes the next call of that kind fail.
  void Fail(Call call, int error) { m_errors[call].push_back(error); }
  /// Makes the next send take so many bytes of what it is given.
  void TakeOnly(int count) { m_takes.push_back(count); }
  /// Lets bytes arrive: one receive gives at most these, and the next what it left of them.
  void Arrive(std::string bytes) { m_arrivals.emplace_back(std::move(bytes)); }
  /// Lets a receive that comes to this point fail.
  void ArriveError(int error) { m_arrivals.emplace_back(error); }
  void ForgetArrivals() { m_arrivals.clear(); }
  /// Address that host names have; unset, no name is known.
  std::optional<std::uint32_t> hostAddress;

  [[nodiscard]] bool HasArrivals() const { return !m_arrivals.empty(); }
  [[nodiscard]] bool IsOpen(SocketHandle socket) const { return m_open.contains(socket); }
  [[nodiscard]] std::size_t OpenCount() const { return m_open.size(); }

  std::string sent;
  InternetAddress connectedTo;
  std::uint32_t mask = 0;
  std::uint32_t message = 0;
  std::int32_t sendTimeout = -1;
  std::int32_t receiveTimeout = -1;
  bool blocking = true;
  int closes = 0;
  std::deque<int> receiveSizes;

  [[nodiscard]] SocketHandle Open() override {
    if (Next(Call::kOpen) != 0) return kInvalidSocket;
    m_open.insert(++m_lastHandle);
    blocking = true;
    return m_lastHandle;
  }

  [[nodiscard]] int Connect(SocketHandle socket, const InternetAddress& address) override {
    connectedTo = address;
    return Answer(Call::kConnect, socket);
  }

  [[nodiscard]] int Send(SocketHandle socket, std::string_view bytes) override {
    if (Answer(Call::kSend, socket) != 0) return kSocketError;
    auto count = bytes.size();
    if (!m_takes.empty()) {
      count = static_cast<std::size_t>(m_takes.front());
      m_takes.pop_front();
    }
    sent += bytes.substr(0, count);
    return static_cast<int>(count);
  }

  [[nodiscard]] int Receive(SocketHandle socket, std::span<char> buffer, int size) override {
    receiveSizes.push_back(size);
    if (Answer(Call::kReceive, socket) != 0) return kSocketError;
    if (size < 0 || static_cast<std::size_t>(size) > buffer.size())
      return FailWith(socket_error::kFault);
    if (size == 0) return 0;
    if (m_arrivals.empty())
      return FailWith(blocking ? socket_error::kTimedOut : socket_error::kWouldBlock);
    if (const auto* error = std::get_if<int>(&m_arrivals.front())) {
      const int number = *error;
      m_arrivals.pop_front();
      return FailWith(number);
    }
    auto& bytes = std::get<std::string>(m_arrivals.front());
    const auto count = bytes.copy(buffer.data(), static_cast<std::size_t>(size));
    bytes.erase(0, count);
    if (bytes.empty()) m_arrivals.pop_front();
    return static_cast<int>(count);
  }

  int Close(SocketHandle socket) override {
    ++closes;
    return m_open.erase(socket) == 1 ? 0 : FailWith(socket_error::kNotASocket);
  }

  [[nodiscard]] int EnableKeepAlive(SocketHandle socket) override {
    return Answer(Call::kEnableKeepAlive, socket);
  }

  [[nodiscard]] int SetBlocking(SocketHandle socket) override {
    const int result = Answer(Call::kSetBlocking, socket);
    blocking = blocking || result == 0;
    return result;
  }

  [[nodiscard]] int SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) override {
    sendTimeout = milliseconds;
    return Answer(Call::kSetSendTimeout, socket);
  }

  [[nodiscard]] int SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) override {
    receiveTimeout = milliseconds;
    return Answer(Call::kSetReceiveTimeout, socket);
  }

  [[nodiscard]] std::uint32_t ParseAddress(const char* text) override {
    return std::string_view(text) == "127.0.0.1" ? 0x0100007F : kNoAddress;
  }

  [[nodiscard]] std::optional<std::uint32_t> ResolveHost(const char* /*name*/) override {
    return hostAddress;
  }

  [[nodiscard]] int RequestNotifications(SocketHandle socket, ControlWindow& /*window*/,
                                         std::uint32_t newMessage, std::uint32_t newMask) override {
    const int result = Answer(Call::kRequestNotifications, socket);
    if (result == 0) {
      message = newMessage;
      mask = newMask;
      blocking = false;
    }
    return result;
  }

  [[nodiscard]] int LastError() const override { return m_lastError; }

 private:
  int FailWith(int error) {
    m_lastError = error;
    return kSocketError;
  }

  int Next(Call call) {
    auto& errors = m_errors[call];
    if (errors.empty()) return 0;
    const int error = errors.front();
    errors.pop_front();
    return error == 0 ? 0 : FailWith(error);
  }

  int Answer(Call call, SocketHandle socket) {
    const int scripted = Next(call);
    return scripted == 0 && !IsOpen(socket) ? FailWith(socket_error::kNotASocket) : scripted;
  }

  std::map<Call, std::deque<int>> m_errors;
  std::deque<int> m_takes;
  std::deque<std::variant<std::string, int>> m_arrivals;
  std::set<SocketHandle> m_open;
  SocketHandle m_lastHandle = 100;
  int m_lastError = 0;
};

}  // namespace tlk::test
