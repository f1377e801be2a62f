// Receiving a stream of messages: the control in its loop, the bare calls below it, and a peer.
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "bench/BulkSender.h"
#include "bench/Comparison.h"
#include "bench/ConnectedControl.h"
#include "bench/StreamMessages.h"
#include "bench/StropheClient.h"
#include "log/iLogger.h"

namespace tlk::bench {
namespace {

constexpr std::size_t kMessageSize = 200;
constexpr std::size_t kPrefix = 30;
constexpr int kMessages = 60'000;
constexpr int kStanzas = 10'000;
constexpr int kLoggedMessages = 20'000;
constexpr std::int32_t kNothingLogged = -1;
constexpr std::int32_t kAllLogged = 4;

/// What a loop must do at the least: wait, receive the prefix, receive the rest.
class BareLoop {
 public:
  BareLoop() : m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {
    const Listener listener;
    m_client = ConnectTo(listener.Port());
    m_server = listener.Accept();
    epoll_event event{.events = EPOLLIN | EPOLLRDHUP, .data = {}};
    Check(::epoll_ctl(m_epoll.Get(), EPOLL_CTL_ADD, m_client.Get(), &event) == 0, "epoll_ctl");
  }

  [[nodiscard]] int Server() const { return m_server.Get(); }

  void Run(int messages) {
    std::array<epoll_event, 64> events;
    std::size_t held = 0;
    while (messages > 0) {
      ::epoll_wait(m_epoll.Get(), events.data(), static_cast<int>(events.size()), -1);
      if (held < kPrefix) held += Receive(kPrefix - held);
      if (held >= kPrefix) held += Receive(kMessageSize - held);
      if (held < kMessageSize) continue;
      held = 0;
      --messages;
    }
  }

 private:
  std::size_t Receive(std::size_t size) {
    const auto count = ::recv(m_client.Get(), m_buffer.data(), size, MSG_DONTWAIT);
    Keep(m_buffer);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

  OwnedDescriptor m_epoll;
  OwnedDescriptor m_client;
  OwnedDescriptor m_server;
  std::array<char, 8192> m_buffer;
};

double Rate(int count, double since) { return count / (Seconds() - since); }

double ReceiveAll(MessageLoop& loop, ConnectedControl& end, BulkSender& sender, int count) {
  static const std::string message = MessageOfSize(kMessageSize);
  const int last = end.host.messages + count;
  const double start = Seconds();
  sender.Start(end.server.Get(), message, count);
  while (end.host.messages < last) loop.DispatchOnce(-1);
  return Rate(count, start);
}

double ReceiveBare(BareLoop& bare, BulkSender& sender) {
  static const std::string message = MessageOfSize(kMessageSize);
  const double start = Seconds();
  sender.Start(bare.Server(), message, kMessages);
  bare.Run(kMessages);
  return Rate(kMessages, start);
}

double ReceiveByStrophe(StropheClient& client, BulkSender& sender) {
  static const std::string stanza = StropheClient::StanzaOfSize(kMessageSize);
  const int last = client.Stanzas() + kStanzas;
  const double start = Seconds();
  sender.Start(client.Server(), stanza, kStanzas);
  while (client.Stanzas() < last) client.RunOnce();
  return Rate(kStanzas, start);
}

/// The file calls of a line in the log, whose one record for each message is of this length.
double AppendLines(const std::filesystem::path& folder) {
  const std::string path = folder / "bare.log";
  const std::string line =
      "11/16/2026 01:12:28.123  (2044) N Message Recieved. Measurement\n (Tlkc - 1000)\n";
  ::unlink(path.c_str());
  const double start = Seconds();
  for (int i = 0; i < kLoggedMessages; ++i) {
    const OwnedDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644));
    Check(::write(file.Get(), line.data(), line.size()) > 0, "write");
    struct stat status {};
    Check(::fstat(file.Get(), &status) == 0, "fstat");
    Keep(status.st_size);
  }
  return Rate(kLoggedMessages, start);
}

/// From the first byte to the last line on disk.
double ReceiveLogged(MessageLoop& loop, ConnectedControl& end, BulkSender& sender) {
  TraceLog().SetLevel(kAllLogged);
  const double start = Seconds();
  (void)ReceiveAll(loop, end, sender, kLoggedMessages);
  TraceLog().Flush();
  const double rate = Rate(kLoggedMessages, start);
  TraceLog().SetLevel(kNothingLogged);
  return rate;
}

std::filesystem::path TemporaryFolder() {
  std::string name = std::filesystem::temp_directory_path() / "tlkc2-bench-XXXXXX";
  Check(::mkdtemp(name.data()) != nullptr, "mkdtemp");
  ::setenv("TMPDIR", name.c_str(), 1);
  return name;
}

void CompareAll(const std::filesystem::path& folder) {
  TraceLog().SetConsoleEcho(false);  // Standard output belongs to the figures.
  MessageLoop loop;
  ConnectedControl end(loop);
  (void)TraceLog().Flush();
  TraceLog().SetLevel(kNothingLogged);
  // From here on, so that the writer of the log, which runs already, may run anywhere.
  PinToProcessor(0);
  BulkSender sender;
  BareLoop bare;
  StropheClient strophe;

  Compare({.subject = "receive",
           .what = "200-byte messages",
           .unit = "1/s",
           .better = Better::kMore,
           .ours = [&] { return ReceiveAll(loop, end, sender, kMessages); },
           .limits = {{{"wait and two receives", [&] { return ReceiveBare(bare, sender); }}, 0.6}},
           .peers = {{{"libstrophe", [&] { return ReceiveByStrophe(strophe, sender); }}, 3.5}}});
  Compare({.subject = "receive",
           .what = "200-byte messages, logged",
           .unit = "1/s",
           .better = Better::kMore,
           .ours = [&] { return ReceiveLogged(loop, end, sender); },
           .limits = {{{"open, append, size, close", [&] { return AppendLines(folder); }}, 0.8}},
           .peers = {}});
}

}  // namespace
}  // namespace tlk::bench

int main() {
  const std::filesystem::path folder = tlk::bench::TemporaryFolder();
  tlk::bench::CompareAll(folder);
  std::filesystem::remove_all(folder);
}
