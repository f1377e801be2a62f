#include "tools/tlk/serve/Server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/tools/Frames.h"

namespace tlk::serve {
namespace {

using asio::ip::tcp;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::chrono::seconds kPatience(20);

/// The lines of a server, which another thread writes.
class Lines {
 public:
  void Add(std::string_view line) {
    const std::lock_guard lock(m_mutex);
    m_lines.emplace_back(line);
    m_changed.notify_all();
  }

  /// Waits for a line that begins so; the lines until then.
  std::vector<std::string> Until(const std::string& begin) {
    std::unique_lock lock(m_mutex);
    const bool came = m_changed.wait_for(lock, kPatience, [&] {
      return std::any_of(m_lines.begin(), m_lines.end(),
                         [&](const auto& line) { return line.rfind(begin, 0) == 0; });
    });
    EXPECT_TRUE(came) << "no line: " << begin;
    return m_lines;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<std::string> m_lines;
};

/// A server on a thread of its own.
class RunningServer {
 public:
  explicit RunningServer(const ServerOptions& options = {})
      : m_server(options, [this](std::string_view line) { m_lines.Add(line); }) {
    const auto error = m_server.Listen();
    EXPECT_FALSE(error) << error.message();
    const auto line = m_lines.Until("listening").front();
    EXPECT_THAT(line, StartsWith("listening 127.0.0.1:"));
    m_port = static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1)));
    m_thread = std::thread([this] { m_server.Run(); });
  }

  ~RunningServer() {
    m_server.Stop();
    m_thread.join();
  }

  Lines& Output() { return m_lines; }
  [[nodiscard]] std::uint16_t Port() const { return m_port; }

 private:
  Lines m_lines;
  Server m_server;
  std::uint16_t m_port = 0;
  std::thread m_thread;
};

/// A client whose calls give up after a while.
class Client {
 public:
  explicit Client(const RunningServer& server) : m_socket(m_io) {
    m_socket.connect({asio::ip::address_v4::loopback(), server.Port()});
    const timeval limit{kPatience.count(), 0};
    setsockopt(m_socket.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }

  void Send(std::string_view bytes) {
    asio::error_code error;
    asio::write(m_socket, asio::buffer(bytes), error);
    ASSERT_FALSE(error) << error.message();
  }

  /// That many bytes; fewer when the stream ends or falls silent before.
  /// A plain call, because the library's own waits on behind the socket's time-out.
  std::string Receive(std::size_t count) {
    std::string bytes(count, '\0');
    const auto got = ::recv(Handle(), bytes.data(), count, MSG_WAITALL);
    bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return bytes;
  }

  bool IsClosed() { return Receive(1).empty(); }
  void EndSending() { m_socket.shutdown(tcp::socket::shutdown_send); }
  void Close() { m_socket.close(); }
  int Handle() { return m_socket.native_handle(); }

 private:
  asio::io_context m_io;
  tcp::socket m_socket;
};

void ExpectAnswer(Client& client, const std::string& answer) {
  EXPECT_EQ(client.Receive(answer.size()), answer);
}

TEST(Server, SendsAMessageBackWithTheClientsId) {
  RunningServer server;
  Client first(server);
  server.Output().Until("client 1 connected");
  Client second(server);
  const std::string data = "<Data><a x=\"1\">caf\xE9 &amp; <b/></a></Data>";
  second.Send(Message("Hello", data));
  ExpectAnswer(second, Message("Hello", data, 0, 2));
  first.Send(Message("Hello", ""));
  ExpectAnswer(first, Message("Hello", "", 0, 1));
}

TEST(Server, AnswersAKeepAlive) {
  RunningServer server;
  Client client(server);
  client.Send(Message("Keep Connection Alive", "", 1));
  ExpectAnswer(client, Message("Keep Connection Alive Response", "", 0, 1));
}

TEST(Server, RelaysToEverybodyElse) {
  ServerOptions options;
  options.relay = true;
  RunningServer server(options);
  Client first(server);
  server.Output().Until("client 1 connected");
  Client second(server);
  server.Output().Until("client 2 connected");
  Client third(server);
  server.Output().Until("client 3 connected");
  first.Send(Message("News", "<Data><a/></Data>") + Message("Keep Connection Alive", ""));
  ExpectAnswer(second, Message("News", "<Data><a/></Data>", 1, 2));
  ExpectAnswer(third, Message("News", "<Data><a/></Data>", 1, 3));
  ExpectAnswer(first, Message("Keep Connection Alive Response", "", 0, 1));
}

TEST(Server, SaysWhatHappensLineByLine) {
  ServerOptions options;
  options.clients = 1;
  RunningServer server(options);
  Client client(server);
  const auto message = Message("Say &quot;hi&quot;", "");
  client.Send(message);
  client.EndSending();
  EXPECT_EQ(client.Receive(2 * message.size()).size(),
            Message("Say &quot;hi&quot;", "", 0, 1).size());
  EXPECT_THAT(server.Output().Until("stopped"),
              ElementsAre(StartsWith("listening 127.0.0.1:"), "client 1 connected",
                          "client 1 message type=\"Say \\\"hi\\\"\" bytes=" +
                              std::to_string(message.size()),
                          "client 1 closed", "stopped"));
}

TEST(Server, TakesTheLongestMessageItMay) {
  RunningServer server;
  Client client(server);
  const auto bare = Message("Big", "<Data></Data>", 0, 1).size();
  const auto message =
      Message("Big", "<Data>" + std::string(kMaxMessageLength - bare, 'x') + "</Data>", 0, 1);
  ASSERT_EQ(message.size(), kMaxMessageLength);
  std::thread sender([&] { client.Send(message); });
  EXPECT_TRUE(client.Receive(message.size()) == message);
  sender.join();
}

struct Refusal {
  std::string bytes;
  std::string reason;
};

void PrintTo(const Refusal& refusal, std::ostream* out) { *out << refusal.reason; }

class ServerRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(ServerRefuses, ABadClientAndServesTheOthers) {
  ServerOptions options;
  options.limits.message = 5000;
  RunningServer server(options);
  Client good(server);
  server.Output().Until("client 1 connected");
  good.Send(Message("Half", "").substr(0, 50));
  Client bad(server);
  bad.Send(GetParam().bytes);
  EXPECT_TRUE(bad.IsClosed());
  EXPECT_THAT(server.Output().Until("client 2 refused"),
              Contains(AllOf(StartsWith("client 2 refused: "), HasSubstr(GetParam().reason))));
  good.Send(Message("Half", "").substr(50));
  ExpectAnswer(good, Message("Half", "", 0, 1));
}

constexpr const char* kIds = "<From Id=\"1\"/><To Id=\"0\"/>";

INSTANTIATE_TEST_SUITE_P(
    Faults, ServerRefuses,
    testing::Values(
        Refusal{"GET / HTTP/1.1\r\nHost: localhost\r\n", "no length stamp"},
        Refusal{"<TLK_Message Length=\"0005001\" ", "length 5001 is above 5000"},
        Refusal{Stamped("<TLK_Message Length=\"0000000\"><open></TLK_Message>"), "not XML: "},
        Refusal{Stamped("<TLK_Messages Length=\"0000000\"/>"), "root is not TLK_Message"},
        Refusal{Stamped("<TLK_Message Length=\"0000000\" xmlns=\"urn:x\"/>"),
                "root is not TLK_Message"},
        Refusal{Stamped(std::string("<TLK_Message Length=\"0000000\">") + kIds + "</TLK_Message>"),
                "root has no Type"},
        Refusal{Stamped("<TLK_Message Length=\"0000000\" Type=\"T\"><To Id=\"0\"/></TLK_Message>"),
                "no From"},
        Refusal{Stamped("<TLK_Message Length=\"0000000\" Type=\"T\"><From Id=\"1\"/><To/>"
                        "</TLK_Message>"),
                "no To"},
        Refusal{Stamped(std::string("<!--Length=\"0000000\"--><TLK_Message Length=\"0000098\" "
                                    "Type=\"T\">") +
                        kIds + "</TLK_Message>"),
                "the root's Length is not the stamp"}));

TEST(Server, DropsAClientThatDoesNotReadAndServesTheOthers) {
  ServerOptions options;
  options.limits.queue = 100000;
  RunningServer server(options);
  Client deaf(server);
  server.Output().Until("client 1 connected");
  const auto message = Message("Flood", "<Data>" + std::string(60000, 'x') + "</Data>");
  std::thread flood([&] {
    while (::send(deaf.Handle(), message.data(), message.size(), MSG_NOSIGNAL) > 0) {
    }
  });
  server.Output().Until("client 1 refused: does not read: ");
  flood.join();
  Client other(server);
  other.Send(Message("Hello", ""));
  ExpectAnswer(other, Message("Hello", "", 0, 2));
}

TEST(Server, NotesAStreamThatEndsWithinAMessage) {
  RunningServer server;
  Client client(server);
  client.Send(Message("Hello", "").substr(0, 40));
  client.Close();
  server.Output().Until("client 1 lost: the stream ends within a message");
}

TEST(Server, StopsOnASignalWithClientsConnected) {
  RunningServer server;
  Client client(server);
  server.Output().Until("client 1 connected");
  std::raise(SIGTERM);
  EXPECT_THAT(server.Output().Until("stopped"), Contains("client 1 closed"));
  EXPECT_TRUE(client.IsClosed());
}

TEST(Server, StopsAtItsTime) {
  ServerOptions options;
  options.runFor = std::chrono::seconds(1);
  RunningServer server(options);
  server.Output().Until("stopped");
}

TEST(Server, SaysWhyItCannotListen) {
  RunningServer server;
  ServerOptions options;
  options.port = server.Port();
  Server second(options, [](std::string_view line) { ADD_FAILURE() << line; });
  EXPECT_EQ(second.Listen(), asio::error::address_in_use);
}

}  // namespace
}  // namespace tlk::serve
