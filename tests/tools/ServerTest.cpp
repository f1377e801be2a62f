#include "tools/tlk/serve/Server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <asio/ip/tcp.hpp>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/tools/Frames.h"

namespace tlk::serve {
namespace {

using asio::ip::tcp;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

constexpr std::chrono::seconds kPatience(20);

/// A server on a thread of its own.
class RunningServer {
 public:
  explicit RunningServer(const ServerOptions& options = {})
      : m_server(options, [this](std::string_view line) { Add(line); }) {
    const auto error = m_server.Listen();
    EXPECT_FALSE(error) << error.message();
    m_port = m_lines.front().substr(m_lines.front().rfind(':') + 1);
    m_thread = std::thread([this] { m_server.Run(); });
  }
  ~RunningServer() {
    m_server.Stop();
    m_thread.join();
  }

  [[nodiscard]] const std::string& Port() const { return m_port; }

  /// Waits for a line that begins so; the lines until then.
  std::vector<std::string> Until(const std::string& begin) {
    std::unique_lock lock(m_mutex);
    const bool came = m_changed.wait_for(lock, kPatience, [&] {
      return std::any_of(m_lines.begin(), m_lines.end(),
                         [&](const auto& line) { return line.starts_with(begin); });
    });
    EXPECT_TRUE(came) << "no line: " << begin;
    return m_lines;
  }

 private:
  void Add(std::string_view line) {
    const std::lock_guard lock(m_mutex);
    m_lines.emplace_back(line);
    m_changed.notify_all();
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<std::string> m_lines;
  Server m_server;
  std::string m_port;
  std::thread m_thread;
};

/// The client that the server gives that id. Its calls give up after a while.
class Client {
 public:
  Client(RunningServer& server, int id) {
    m_stream.expires_after(kPatience);
    m_stream.connect("127.0.0.1", server.Port());
    server.Until("client " + std::to_string(id) + " connected");
  }

  bool Send(std::string_view bytes) { return static_cast<bool>(m_stream << bytes << std::flush); }
  void EndSending() { m_stream.socket().shutdown(tcp::socket::shutdown_send); }
  void ExpectAnswer(const std::string& answer) {
    std::string bytes(answer.size(), '\0');
    m_stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_EQ(bytes, answer);
  }
  void ExpectClosed() {
    EXPECT_EQ(m_stream.get(), EOF);
    EXPECT_EQ(m_stream.error(), asio::error::eof);
  }

 private:
  tcp::iostream m_stream;
};

TEST(Server, AnswersEachClientWithItsIdAndSaysWhatHappens) {
  ServerOptions options;
  options.clients = 2;
  RunningServer server(options);
  Client first(server, 1);
  Client second(server, 2);
  const std::string data = "<Data><a x=\"1\">caf\xE9 &amp; <b/></a></Data>";
  const auto message = Message("Say &quot;hi&quot;", data);
  second.Send(message);
  second.EndSending();
  second.ExpectAnswer(Message("Say &quot;hi&quot;", data, 0, 2));
  second.ExpectClosed();
  server.Until("client 2 closed");
  first.Send(Message("Keep Connection Alive", "", 1));
  first.ExpectAnswer(Message("Keep Connection Alive Response", "<Data/>", 0, 1));
  first.Send(message.substr(0, 40));
  first.EndSending();
  EXPECT_THAT(
      server.Until("stopped"),
      ElementsAre(
          StartsWith("listening 127.0.0.1:"), "client 1 connected", "client 2 connected",
          "client 2 message type=\"Say \\\"hi\\\"\" bytes=" + std::to_string(message.size()),
          "client 2 closed", StartsWith("client 1 message type=\"Keep Connection Alive\" "),
          "client 1 lost: the stream ends within a message", "stopped"));
}

TEST(Server, RelaysToEverybodyElse) {
  ServerOptions options;
  options.relay = true;
  RunningServer server(options);
  Client first(server, 1);
  Client second(server, 2);
  Client third(server, 3);
  first.Send(Message("News", "<Data><a/></Data>") + Message("Keep Connection Alive", ""));
  second.ExpectAnswer(Message("News", "<Data><a/></Data>", 1, 2));
  third.ExpectAnswer(Message("News", "<Data><a/></Data>", 1, 3));
  first.ExpectAnswer(Message("Keep Connection Alive Response", "<Data/>", 0, 1));
}

TEST(Server, RefusesBadClientsAndServesTheOthers) {
  const std::string ids = "<From Id=\"1\"/><To Id=\"0\"/></TLK_Message>";
  const std::string begin = "<TLK_Message Length=\"0000000\"";
  const std::pair<std::string, const char*> cases[] = {
      {"GET / HTTP/1.1\r\nHost: localhost\r\n", "no length stamp"},
      {"<TLK_Message Length=\"0005001\" ", "length 5001 is above 5000"},
      {Stamped(begin + "><open></TLK_Message>"), "not XML: "},
      {Stamped("<TLK_Messages Length=\"0000000\"/>"), "root is not TLK_Message"},
      {Stamped(begin + " xmlns=\"urn:x\"/>"), "root is not TLK_Message"},
      {Stamped(begin + ">" + ids), "root has no Type"},
      {Stamped(begin + " Type=\"T\"><To Id=\"0\"/></TLK_Message>"), "no From"},
      {Stamped(begin + " Type=\"T\"><From Id=\"1\"/><To/></TLK_Message>"), "no To"},
      {Stamped("<!--Length=\"0000000\"--><TLK_Message Length=\"0000098\" Type=\"T\">" + ids),
       "the root's Length is not the stamp"}};
  ServerOptions options;
  options.limits.message = 5000;
  RunningServer server(options);
  Client good(server, 1);
  int id = 1;
  for (const auto& [bytes, reason] : cases) {
    good.Send(Message("Half", "").substr(0, 50));
    Client bad(server, ++id);
    bad.Send(bytes);
    bad.ExpectClosed();
    const auto refused = "client " + std::to_string(id) + " refused: ";
    EXPECT_THAT(server.Until(refused).back(), StartsWith(refused + reason));
    good.Send(Message("Half", "").substr(50));
    good.ExpectAnswer(Message("Half", "", 0, 1));
  }
}

TEST(Server, DropsAClientThatDoesNotReadAndServesTheOthers) {
  ServerOptions options;
  options.limits.queue = 100000;
  RunningServer server(options);
  Client deaf(server, 1);
  const auto message = Message("Flood", "<Data>" + std::string(60000, 'x') + "</Data>");
  while (deaf.Send(message)) {
  }
  server.Until("client 1 refused: does not read: ");
  Client other(server, 2);
  other.Send(Message("Hello", ""));
  other.ExpectAnswer(Message("Hello", "", 0, 2));
}

TEST(Server, StopsOnASignalWithClientsConnected) {
  RunningServer server;
  Client client(server, 1);
  std::raise(SIGTERM);
  EXPECT_THAT(server.Until("stopped"), Contains("client 1 closed"));
  client.ExpectClosed();
}

}  // namespace
}  // namespace tlk::serve
