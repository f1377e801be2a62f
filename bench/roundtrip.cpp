// A request and its reply: the control, and the same bytes sent and received without one.
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <string>
#include <string_view>
#include <thread>

#include "bench/Comparison.h"
#include "bench/ConnectedControl.h"
#include "bench/Loopback.h"
#include "bench/StreamMessages.h"
#include "log/iLogger.h"

namespace tlk::bench {
namespace {

constexpr std::size_t kPrefix = 30;
constexpr int kExchanges = 4'000;
constexpr std::int32_t kTimeOut = 5'000;

/// A thread on the second processor that sends back what comes, until the other end closes.
class EchoPeer {
 public:
  explicit EchoPeer(OwnedDescriptor connection) : m_connection(std::move(connection)) {}

  EchoPeer(const EchoPeer&) = delete;
  EchoPeer& operator=(const EchoPeer&) = delete;

  ~EchoPeer() { ::shutdown(m_connection.Get(), SHUT_RDWR); }

  /// How many bytes have come.
  [[nodiscard]] std::size_t Echoed() const { return m_echoed; }

 private:
  void Run() {
    PinToProcessor(1);
    std::array<char, 8192> buffer;
    for (;;) {
      const auto count = ::recv(m_connection.Get(), buffer.data(), buffer.size(), 0);
      if (count <= 0) return;
      m_echoed += static_cast<std::size_t>(count);
      SendAll(m_connection.Get(), {buffer.data(), static_cast<std::size_t>(count)});
    }
  }

  OwnedDescriptor m_connection;
  std::atomic<std::size_t> m_echoed = 0;
  std::jthread m_thread{[this] { Run(); }};
};

void Exchange(CTlkc& control) {
  static const std::u16string payload(u"<Item Id=\"4711\">" + std::u16string(70, u'x') +
                                      u"</Item>");
  std::u16string type;
  std::u16string data;
  control.SendReceiveTlkMsg(u"Measurement", payload, &type, &data, kTimeOut);
  Check(!data.empty(), "no reply");
}

void ExchangeBare(int descriptor, std::string_view message) {
  std::array<char, 8192> buffer;
  Check(SendAll(descriptor, message), "send");
  const auto prefix = ::recv(descriptor, buffer.data(), kPrefix, 0);
  const auto rest = ::recv(descriptor, buffer.data(), message.size() - kPrefix, 0);
  Check(prefix == kPrefix && rest == static_cast<ssize_t>(message.size() - kPrefix), "recv");
  Keep(buffer);
}

void CompareExchanges() {
  PinToProcessor(0);
  TraceLog().SetLevel(-1);
  MessageLoop loop;
  CountingHost host;
  NativeControl control(loop, host);
  const Listener listener;
  ConnectControl(*control, listener.Port());
  const EchoPeer peer(listener.Accept());
  Exchange(*control);
  const std::string message(peer.Echoed(), 'x');

  const OwnedDescriptor client = ConnectTo(listener.Port());
  const EchoPeer barePeer(listener.Accept());
  const auto ours = [&](int count) {
    for (int i = 0; i < count; ++i) Exchange(*control);
  };
  const auto bare = [&](int count) {
    for (int i = 0; i < count; ++i) ExchangeBare(client.Get(), message);
  };
  Compare(
      {.subject = "roundtrip",
       .what = "SendReceiveTlkMsg, " + std::to_string(message.size()) + " bytes each way",
       .unit = "ns",
       .better = Better::kLess,
       .ours = [&] { return NanosecondsEach(kExchanges, ours); },
       .limits = {{{"blocking ping-pong", [&] { return NanosecondsEach(kExchanges, bare); }}, 1.3}},
       .peers = {}});
}

}  // namespace
}  // namespace tlk::bench

int main() { tlk::bench::CompareExchanges(); }
