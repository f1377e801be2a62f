#pragma once

#include "platform/Files.h"
#include "platform/Sockets.h"
#include "tests/scripted/NthCall.h"
#include "tests/scripted/ScarceMemory.h"

namespace tlk::test {

/// Sockets of which one call fails, whatever call it is. Memory never runs out behind it.
class FailingSockets final : public Sockets {
 public:
  explicit FailingSockets(Sockets& real) : m_real(real) {}

  NthCall anyCall;
  int error = 0;

  SocketHandle Open() override {
    return Ask(kInvalidSocket, [&] { return m_real.Open(); });
  }
  int Connect(SocketHandle socket, const InternetAddress& address) override {
    return Ask(kSocketError, [&] { return m_real.Connect(socket, address); });
  }
  int Send(SocketHandle socket, std::string_view bytes) override {
    return Ask(kSocketError, [&] { return m_real.Send(socket, bytes); });
  }
  int Receive(SocketHandle socket, std::span<char> buffer, int size) override {
    return Ask(kSocketError, [&] { return m_real.Receive(socket, buffer, size); });
  }
  int Close(SocketHandle socket) override {
    const PlentyOfMemory plenty;
    const int closed = m_real.Close(socket);  // Whatever it answers: a socket is closed once.
    return Ask(kSocketError, [&] { return closed; });
  }
  int EnableKeepAlive(SocketHandle socket) override {
    return Ask(kSocketError, [&] { return m_real.EnableKeepAlive(socket); });
  }
  int SetBlocking(SocketHandle socket) override {
    return Ask(kSocketError, [&] { return m_real.SetBlocking(socket); });
  }
  int SetSendTimeout(SocketHandle socket, std::int32_t limit) override {
    return Ask(kSocketError, [&] { return m_real.SetSendTimeout(socket, limit); });
  }
  int SetReceiveTimeout(SocketHandle socket, std::int32_t limit) override {
    return Ask(kSocketError, [&] { return m_real.SetReceiveTimeout(socket, limit); });
  }
  std::uint32_t ParseAddress(const char* text) override {
    return Ask(kNoAddress, [&] { return m_real.ParseAddress(text); });
  }
  std::optional<std::uint32_t> ResolveHost(const char* name) override {
    return Ask(std::optional<std::uint32_t>(), [&] { return m_real.ResolveHost(name); });
  }
  int RequestNotifications(SocketHandle socket, ControlWindow& window, std::uint32_t message,
                           std::uint32_t mask) override {
    return Ask(kSocketError,
               [&] { return m_real.RequestNotifications(socket, window, message, mask); });
  }
  int LastError() const override { return m_isOurs ? error : m_real.LastError(); }

 private:
  template <typename Result, typename Call>
  Result Ask(Result failure, Call call) {
    const PlentyOfMemory plenty;
    const bool fails = anyCall.IsThis();
    const Result result = fails ? failure : call();
    if (result == failure) m_isOurs = fails;
    return result;
  }

  Sockets& m_real;
  bool m_isOurs = false;
};

inline constexpr std::string_view kLastLine = "The end";

/// Files of which one call fails, likewise.
class FailingFiles final : public Files {
 public:
  explicit FailingFiles(Files& real) : m_real(real) {}

  NthCall anyCall;
  std::atomic<int> records{0};
  std::atomic<int> errorRecords{0};
  std::atomic<bool> hasLastLine{false};
  std::int64_t appendResult = append_result::kNotOpened;

  std::int64_t AppendLine(const std::string& path, std::string_view line) override {
    const PlentyOfMemory plenty;
    if (anyCall.IsThis()) return appendResult;
    const std::int64_t size = m_real.AppendLine(path, line);
    if (line.find(") E ") != line.npos) ++errorRecords;
    if (!line.starts_with("-")) ++records;  // No marker.
    if (line.ends_with(kLastLine)) hasLastLine = true;
    return size;
  }
  bool Read(const std::string& path, const std::function<void(std::string_view)>& take) override {
    return !anyCall.IsThis() && m_real.Read(path, take);
  }
  bool VisitFolder(const std::string& path,
                   const std::function<void(std::string_view)>& visit) override {
    return !anyCall.IsThis() && m_real.VisitFolder(path, visit);
  }
  bool Remove(const std::string& path) override {
    const PlentyOfMemory plenty;
    return !anyCall.IsThis() && m_real.Remove(path);
  }
  bool Rename(const std::string& from, const std::string& to) override {
    const PlentyOfMemory plenty;
    return !anyCall.IsThis() && m_real.Rename(from, to);
  }

 private:
  Files& m_real;
};

}  // namespace tlk::test
