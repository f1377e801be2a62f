#include "tools/tlk/load/LoadRun.h"

#include <algorithm>
#include <csignal>
#include <limits>
#include <random>
#include <utility>

#include "tools/tlk/load/OwnProcess.h"
#include "tools/tlk/net/System.h"

namespace tlk::load {
namespace {

/// Attempts under way at a time: more would overrun what a server keeps for accepting.
constexpr std::uint64_t kAttempts = 256;

/// How long connecting may take, over the time of the ramp.
constexpr std::chrono::seconds kConnectLimit(10);

/// How long what is under way at the end may take, and where nothing has ever come back.
constexpr std::chrono::seconds kDrainLimit(5);
constexpr std::chrono::seconds kVainDrainLimit(1);

constexpr std::chrono::milliseconds kStep(10);

/// What was due so long before the end is expected to be done.
constexpr Clock::duration kLate = std::chrono::milliseconds(500);

/// The clock does not tick more often: the loop has other things to do.
constexpr std::chrono::microseconds kTick(100);

/// Messages that may go out at a time: about as many as the loop then hears.
constexpr std::uint64_t kRound = 128;

std::optional<Schedule> MakeSchedule(const LoadOptions& options) {
  if (!options.rate) return std::nullopt;
  return Schedule(*options.rate);
}

}  // namespace

LoadRun::LoadRun(const LoadOptions& options, LineWriter progress)
    : m_options(options),
      m_progress(std::move(progress)),
      m_traffic{options,
                LoadText(std::random_device()(), options.size),
                MakeSchedule(options),
                Tally(),
                {}},
      m_signals(m_io),
      m_ramp(m_io),
      m_connectLimit(m_io),
      m_clock(m_io),
      m_end(m_io),
      m_second(m_io) {}

template <typename Then>
void LoadRun::After(asio::steady_timer& timer, Clock::duration time, Then then) {
  timer.expires_after(time);
  timer.async_wait([then](const asio::error_code& error) {
    if (!error) then();
  });
}

asio::error_code LoadRun::LookUp() {
  using asio::ip::tcp;
  asio::error_code error;
  tcp::resolver resolver(m_io);
  const auto found =
      resolver.resolve(tcp::v4(), m_options.server.host, std::to_string(m_options.server.port),
                       tcp::resolver::numeric_service, error);
  if (!error) m_server = found.begin()->endpoint();
  return error;
}

Outcome LoadRun::Run() {
  const auto descriptors = net::RaiseDescriptorLimit();
  ClientEvents& events = *this;
  for (std::uint32_t number = 0; number < m_options.clients; ++number) {
    m_clients.emplace_back(m_io, number, m_traffic, events);
  }
  m_signals.add(SIGINT);
  m_signals.add(SIGTERM);
  m_signals.async_wait([this](const asio::error_code& error, int) {
    if (!error) EndSending();
  });
  m_begun = Clock::now();
  After(m_connectLimit, m_options.ramp + kConnectLimit, [this] {
    for (auto& client : m_clients) client.GiveUp();
  });
  OnSecond();
  OnRamp();
  m_io.run();
  return {m_options, m_traffic.tally, m_inTime, m_expected, m_lasted, m_processorTime, descriptors};
}

/// While the ramp lasts, somebody may always connect a little later.
void LoadRun::OnRamp() {
  ConnectSome();
  if (m_tried < m_options.clients) After(m_ramp, kStep, [this] { OnRamp(); });
}

bool LoadRun::MayConnect() const {
  if (m_tried == m_options.clients || m_tried >= m_decided + kAttempts) return false;
  return m_begun + m_options.ramp * m_tried / m_options.clients <= Clock::now();
}

void LoadRun::ConnectSome() {
  while (MayConnect()) {
    m_clients[m_tried++].Connect(m_server);
  }
}

void LoadRun::OnDecided() {
  ++m_decided;
  if (m_decided == m_options.clients) {
    Begin();
  } else {
    ConnectSome();
  }
}

/// The messages begin when nobody connects any more, so that the one does not disturb the other.
void LoadRun::Begin() {
  m_ramp.cancel();
  m_connectLimit.cancel();
  if (m_traffic.tally.connected == 0) {
    m_io.stop();
    return;
  }
  m_started = true;
  m_processorTime = OwnProcessorTime();
  m_traffic.start = Clock::now();
  m_traffic.sending = true;
  After(m_end, m_options.runFor, [this] { EndSending(); });
  OnClock();
}

void LoadRun::OnLost() {
  const auto& tally = m_traffic.tally;
  if (m_started && tally.lost == tally.connected) EndSending();
}

/// Lets each client send what is due. A round has its limit, lest a run that cannot keep its rate
/// hears and ends nothing any more.
void LoadRun::OnClock() {
  if (m_ended) return;
  if (!m_traffic.schedule) {
    for (auto& client : m_clients) client.Release(std::numeric_limits<std::uint32_t>::max());
    return;
  }
  const auto& schedule = *m_traffic.schedule;
  const auto passed = Clock::now() - m_traffic.start;
  const auto due = std::min(m_released + kRound, DueMessages(passed));
  while (m_released < due) {
    m_clients[static_cast<std::size_t>(m_released++ % m_options.clients)].Release(1);
  }
  After(m_clock, std::max<Clock::duration>(schedule.DueOf(m_released) - passed, kTick),
        [this] { OnClock(); });
}

/// None is due at the end itself.
std::uint64_t LoadRun::DueMessages(Clock::duration passed) const {
  return m_traffic.schedule->CountBefore(std::min<Clock::duration>(passed, m_options.runFor));
}

void LoadRun::EndSending() {
  if (!m_started || m_ended) {
    m_io.stop();
    return;
  }
  OnClock();
  m_ended = true;
  // What is due and waits for its socket alone still goes out.
  m_traffic.sending = m_traffic.schedule && !m_options.requests;
  m_lasted = Clock::now() - m_traffic.start;
  m_processorTime = OwnProcessorTime() - m_processorTime;
  m_traffic.tally.due = m_traffic.schedule ? DueMessages(m_lasted) : m_traffic.tally.sent;
  m_inTime = m_traffic.tally.answered;
  if (!m_options.requests && m_inTime == 0) m_inTime = m_traffic.tally.sent;
  if (m_traffic.schedule) m_expected = DueMessages(m_lasted - std::min(m_lasted, kLate));
  After(m_end, m_traffic.tally.answered > 0 ? kDrainLimit : kVainDrainLimit,
        [this] { m_io.stop(); });
  Drain();
}

void LoadRun::Drain() {
  const auto& tally = m_traffic.tally;
  if (tally.lost == tally.connected || tally.Unanswered() == 0) {
    m_io.stop();
  } else {
    After(m_clock, kStep, [this] { Drain(); });
  }
}

void LoadRun::OnSecond() {
  const auto now = Clock::now();
  for (auto& client : m_clients) client.KeepAlive(now);
  if (m_progress && now - m_begun >= std::chrono::milliseconds(500)) {
    m_progress(ProgressLine(m_options, m_traffic.tally, now - m_begun));
  }
  After(m_second, std::chrono::seconds(1), [this] { OnSecond(); });
}

}  // namespace tlk::load
