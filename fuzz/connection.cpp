// A whole connection: the input chooses what the peer, the system, the clock and the host do, the
// host from inside its handlers, too.

#include <array>
#include <optional>
#include <tuple>

#include "fuzz/ScriptedControl.h"
#include "transport/Framing.h"

// What the allocator of the address sanitizer has given out; null without it.
extern "C" std::size_t AllocatedBytes() __asm__("__sanitizer_get_current_allocated_bytes")
    __attribute__((weak));

namespace tlk::fuzz {
namespace {

std::size_t Memory() { return AllocatedBytes != nullptr ? AllocatedBytes() : 0; }

class Conversation final : public ITlkcEvents {
 public:
  explicit Conversation(Input& input) : m_input(input) {
    m_sockets.onCall = [this](std::string_view call) { CheckCall(call); };
    m_ports.log.onRecord = [this](const LogRecord& record) { CheckRecord(record); };
    while (!m_input.AtEnd()) Step();
    m_inStatus = m_inMessage = true;  // So that no event may come.
    m_control.reset();
    Check(!m_ports.window.HasTarget() && HasTimers() == std::pair(false, false),
          "no timer is left");
    Check(m_sockets.OpenCount() == 0, "a control closes its socket");
  }

 private:
  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    Check(status == m_control->m_status, "what is announced is stored");
    m_announced = status;
    Handle(m_inStatus);
  }

  void TlkMsgRecieved(std::u16string_view, std::u16string_view) override { Handle(m_inMessage); }

  void Handle(bool& isInside) {
    Check(!isInside, "no event is raised inside its own kind, nor by what is gone");
    isInside = true;
    ++m_depth;
    for (auto steps = m_depth > 3 ? 0 : m_input.Choice(4); steps > 0; --steps) Step();
    --m_depth;
    isInside = false;
  }

  void Step() {
    using C = Conversation;
    static constexpr std::array kSteps{&C::Connect,  &C::Disconnect, &C::Send,     &C::Request,
                                       &C::Notify,   &C::Arrive,     &C::FailCall, &C::FailReceive,
                                       &C::TakePart, &C::PassTime};
    ++m_steps;
    m_isNested = m_isNested || m_depth > 0;
    (this->*kSteps[m_input.Choice(kSteps.size())])();
    CheckState();
  }

  void Connect() {
    const auto server = m_input.Choice(3);
    m_sockets.hostAddress = server == 1 ? std::optional(1U) : std::nullopt;
    const bool isFree = m_control->m_status == TLK_Not_Connected;
    std::int32_t value = 7;
    const auto result = m_control->Connect(server == 0 ? u"127.0.0.1" : u"a-name", 1371, &value);
    Check(result == (isFree ? kResultOk : kResultFail), "only who is not connected connects");
    Check(isFree ? value == 0 || value == 1 : value == 7, "the value is written with the result");
    Check(value != 1 || HasTimers().second, "a new connection is kept alive");
  }

  void Disconnect() {
    const auto steps = m_steps;
    m_control->Disconnect();
    Check(steps != m_steps || (m_control->m_socket == kInvalidSocket && !HasTimers().second),
          "nothing is left of a connection that was ended");
  }

  void Request() {
    const auto outer = std::exchange(m_asking, m_control->m_socket);
    std::u16string reply;
    m_control->SendReceiveTlkMsg(u"T", Wide(), &reply, &reply, 1000);
    m_asking = outer;
  }

  void Notify() {
    using namespace socket_event;
    static constexpr std::uint32_t kEvents[] = {kRead, kWrite, kConnect, kClose, 64};
    const auto choice = m_input.Choice(20);
    const auto event = kEvents[choice % 5];
    const int error = choice / 5 == 2 ? Error() : 0;
    const SocketHandle socket = choice / 5 == 3 ? 7 : m_control->m_socket;
    const bool isLate = socket != m_control->m_socket && m_control->m_socket != kInvalidSocket;
    // Nobody is notified of a socket that blocks.
    if (m_sockets.IsOpen(socket) && m_sockets.blocking) return;
    const auto before = std::tuple(m_steps, m_records, HasTimers());
    m_isPending = m_isPending && isLate;
    m_ports.window.Notify(socket, event, error);
    if (isLate) {
      Check(before == std::tuple(m_steps, m_records, HasTimers()), "too late to matter");
    } else if ((error != 0 || event >= kClose) && m_steps == std::get<0>(before)) {
      Check(HasTimers() == std::pair(false, false), "no timer outlives a connection that ends");
    }
  }

  void FailCall() {
    static constexpr const char* kCalls[] = {
        "Open",           "Connect",           "Send",
        "Receive",        "EnableKeepAlive",   "SetBlocking",
        "SetSendTimeout", "SetReceiveTimeout", "RequestNotifications"};
    const char* const call = kCalls[m_input.Choice(9)];
    m_sockets.Fail(call, Error());
  }

  void Arrive() { m_sockets.Arrive(PeerBytes(m_input)); }
  void FailReceive() { m_sockets.ArriveError(Error()); }
  void TakePart() { m_sockets.TakeOnly(m_input.Byte()); }
  void PassTime() { m_ports.window.Advance(m_input.Byte() * std::uint64_t{1000}); }
  void Send() { m_control->SendTLKMsg(Wide(), u"<a/>"); }

  void CheckState() const {
    TLK_ConnStatusEnum status = TLK_Connecting;
    m_control->ConnectionStatus(&status);
    Check(status == TLK_Not_Connected || status == TLK_Connected, "a status is one of two");
    Check(m_isNested || status == m_announced, "a host with quiet handlers knows the status");
    const bool hasSocket = m_control->m_socket != kInvalidSocket;
    Check(m_sockets.IsOpen(m_control->m_socket) == hasSocket, "the socket that is held is open");
    Check(m_sockets.OpenCount() == (hasSocket ? 1 : 0), "no other socket is open");
    Check(!HasTimers().first || m_isPending, "the connect timer runs for a pending connection");
    CheckMemory(m_depth);
  }

  void CheckCall(std::string_view call) const {
    if (call != "Receive" || m_control->m_status != TLK_Connected ||
        !m_sockets.IsOpen(m_control->m_socket))
      return;
    const bool isOff = m_sockets.blocking && m_sockets.mask == 0;
    Check(isOff == (m_control->m_socket == m_asking),
          "notifications are off while blocking, and only then");
    CheckMemory(m_depth + 1);
  }

  // Beside one frame for each read that is under way there is what was sent and what waits for
  // that.
  void CheckMemory(unsigned reads) const {
    const auto queued = 3 * (m_control->m_pendingOut.size() + m_sockets.sent.size());
    Check(Memory() <= m_memoryBefore + reads * kMaxMessageLength + queued + 1'000'000,
          "memory is bounded by the frames that are being read");
  }

  void CheckRecord(const LogRecord& record) {
    ++m_records;
    m_ports.log.records.clear();
    Check(!record.text.empty(), "a record has a text");
    m_isPending = m_isPending || record.text == trace::kConnectPending.text;
  }

  // The connect timer and the keep-alive timer.
  std::pair<bool, bool> HasTimers() const {
    return {m_ports.window.Runs(0x52ED8D), m_ports.window.Runs(0x52ED92)};
  }

  int Error() {
    static constexpr int kErrors[] = {10035, 10036, 10053, 10054, 10060, 10061};
    return kErrors[m_input.Choice(6)];
  }

  std::u16string Wide() {
    const auto text = m_input.Text();
    return {text.begin(), text.end()};
  }

  Input& m_input;
  ScriptedPorts m_ports;
  test::ScriptedSockets& m_sockets = m_ports.sockets;
  std::optional<OpenControl> m_control{std::in_place, m_ports.ports, *this};
  const std::size_t m_memoryBefore = Memory();
  TLK_ConnStatusEnum m_announced = TLK_Not_Connected;
  SocketHandle m_asking = kInvalidSocket;
  unsigned m_steps = 0;
  unsigned m_records = 0;
  unsigned m_depth = 0;
  bool m_isNested = false;  ///< Has the host ever acted in a handler?
  bool m_isPending = false;
  bool m_inStatus = false;
  bool m_inMessage = false;
};

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlk::fuzz::Input input(data, size);
  const tlk::fuzz::Conversation conversation(input);
  return 0;
}
