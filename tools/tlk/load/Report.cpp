#include "tools/tlk/load/Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/Sockets.h"

namespace tlk::load {
namespace {

/// Above so many percent of a processor, one thread has no more to give.
constexpr double kFull = 90;

struct NamedPercentile {
  const char* title;
  const char* key;
  double percent;
};

constexpr NamedPercentile kPercentiles[] = {
    {"50 %", "p50", 50}, {"90 %", "p90", 90}, {"99 %", "p99", 99}, {"99.9 %", "p99_9", 99.9}};

struct NamedError {
  int number;
  const char* text;
};

constexpr NamedError kErrors[] = {
    {socket_error::kFault, "bad stamp"},
    {socket_error::kTooManySockets, "too many open files"},
    {socket_error::kAddressNotAvailable, "no local port free"},
    {socket_error::kConnectionAborted, "aborted by this system"},
    {socket_error::kConnectionReset, "reset by the server"},
    {socket_error::kNoBufferSpace, "out of memory"},
    {socket_error::kTimedOut, "timed out"},
    {socket_error::kConnectionRefused, "refused"},
    {socket_error::kHostUnreachable, "host unreachable"},
    {socket_error::kDisconnected, "closed by the server"},
};

/// A number with a comma before each three digits.
std::string Grouped(std::uint64_t number) {
  auto text = std::to_string(number);
  for (auto at = text.size(); at > 3;) {
    at -= 3;
    text.insert(at, 1, ',');
  }
  return text;
}

std::string Decimal(double number, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, number);
  return text;
}

/// A text of at least so many columns.
std::string Padded(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

double Seconds(const Outcome& outcome) {
  return std::chrono::duration<double>(outcome.lasted).count();
}

double PercentOfProcessor(const Outcome& outcome) {
  const double used = std::chrono::duration<double>(outcome.processorTime).count();
  return outcome.lasted.count() > 0 ? 100 * used / Seconds(outcome) : 0;
}

std::uint64_t ASecond(const Outcome& outcome, std::uint64_t messages) {
  const double seconds = Seconds(outcome);
  if (seconds <= 0) return 0;
  return static_cast<std::uint64_t>(std::llround(static_cast<double>(messages) / seconds));
}

/// One in a hundred may be late. Without a rate, all that is asked for is that it goes on.
bool RateKept(const Outcome& outcome) {
  if (!outcome.options.rate) return outcome.inTime > 0 || outcome.tally.due == 0;
  return outcome.inTime >= outcome.expected - outcome.expected / 100;
}

std::uint64_t ErrorCount(const Tally& tally, int number) {
  const auto found = tally.errors.find(number);
  return found == tally.errors.end() ? 0 : found->second;
}

/// Why connections could not be made.
std::string ConnectionBound(const Outcome& outcome) {
  const auto& tally = outcome.tally;
  if (ErrorCount(tally, socket_error::kTooManySockets) > 0) {
    const std::string count = outcome.descriptors ? Grouped(*outcome.descriptors) : "no more";
    return "this process may have " + count + " descriptors (ulimit -n)";
  }
  if (ErrorCount(tally, socket_error::kAddressNotAvailable) > 0) {
    return "no local ports are left to that address";
  }
  const auto refused = ErrorCount(tally, socket_error::kConnectionRefused);
  if (refused > 0) return "the server refused " + Grouped(refused) + " connections";
  const auto late = ErrorCount(tally, socket_error::kTimedOut);
  if (late > 0) return Grouped(late) + " connections timed out, as the server did not accept them";
  return Grouped(tally.failed) + " connections failed";
}

/// Why messages did not go out, or did not come back.
std::string RateBound(const Outcome& outcome) {
  const auto& tally = outcome.tally;
  const double percent = PercentOfProcessor(outcome);
  if (percent >= kFull) return "this process used " + Decimal(percent, 0) + " % of a core";
  return "this process used " + Decimal(percent, 0) +
         " % of a core, so the server or the machine was slow: " + Grouped(tally.Unanswered()) +
         " messages were unanswered, " + Grouped(tally.due - std::min(tally.due, tally.sent)) +
         " could not be sent in time";
}

std::string ErrorName(int number) {
  for (const auto& error : kErrors) {
    if (error.number == number) return std::string(" ") + error.text;
  }
  return {};
}

std::string ErrorLine(const Tally& tally) {
  std::string line;
  for (const auto& [number, count] : tally.errors) {
    if (!line.empty()) line += "; ";
    line += std::to_string(number) + ErrorName(number) + ": " + Grouped(count);
  }
  return line.empty() ? "none" : line;
}

std::string RateLine(const Outcome& outcome) {
  const auto done = Grouped(ASecond(outcome, outcome.inTime));
  if (!outcome.options.rate) return done + " messages a second";
  return done + " of " + Grouped(*outcome.options.rate) + " messages a second";
}

std::string Milliseconds(const Tally& tally, std::uint64_t microseconds) {
  if (tally.latencies.Count() == 0) return "-";
  return Decimal(static_cast<double>(microseconds) / 1000, 3);
}

constexpr std::size_t kTitleWidth = 14;
constexpr std::size_t kColumnWidth = 11;

std::string Row(const char* title, const std::string& text) {
  return Padded(title, kTitleWidth) + text + '\n';
}

std::string LatencyRows(const Tally& tally) {
  std::string titles;
  std::string times;
  for (const auto& percentile : kPercentiles) {
    titles += Padded(percentile.title, kColumnWidth);
    times +=
        Padded(Milliseconds(tally, tally.latencies.Percentile(percentile.percent)), kColumnWidth);
  }
  return Row("latency", titles + "greatest") +
         Row("  ms", times + Milliseconds(tally, tally.latencies.Greatest()));
}

/// The members of a JSON object.
class JsonObject {
 public:
  JsonObject& Add(const std::string& key, const std::string& value) {
    m_text += (m_text.empty() ? "\"" : ",\"") + key + "\":" + value;
    return *this;
  }
  JsonObject& Add(const std::string& key, std::uint64_t value) {
    return Add(key, std::to_string(value));
  }
  [[nodiscard]] std::string Text() const { return "{" + m_text + "}"; }

 private:
  std::string m_text;
};

std::string ErrorsJson(const Tally& tally) {
  JsonObject errors;
  for (const auto& [number, count] : tally.errors) errors.Add(std::to_string(number), count);
  return errors.Text();
}

std::string LatencyJson(const LatencyHistogram& latencies) {
  JsonObject times;
  times.Add("count", latencies.Count());
  const bool none = latencies.Count() == 0;
  for (const auto& [title, key, percent] : kPercentiles) {
    times.Add(key, none ? "null" : std::to_string(latencies.Percentile(percent)));
  }
  return times.Add("greatest", none ? "null" : std::to_string(latencies.Greatest())).Text();
}

}  // namespace

std::optional<std::string> Shortfall(const Outcome& outcome) {
  const auto& tally = outcome.tally;
  if (tally.failed > 0) {
    return Grouped(tally.connected) + " of " + Grouped(outcome.options.clients) + " clients; " +
           ConnectionBound(outcome);
  }
  if (tally.lost > 0) return Grouped(tally.lost) + " connections were lost";
  if (RateKept(outcome)) return std::nullopt;
  return RateLine(outcome) + "; " + RateBound(outcome);
}

bool Succeeded(const Outcome& outcome) {
  const auto& tally = outcome.tally;
  const bool answered = !outcome.options.requests || tally.Unanswered() == 0;
  return tally.connected == outcome.options.clients && tally.lost == 0 && answered &&
         RateKept(outcome);
}

std::string Table(const Outcome& outcome) {
  const auto& tally = outcome.tally;
  auto table =
      Row("connections", Grouped(tally.connected) + " made, " + Grouped(tally.failed) +
                             " failed, " + Grouped(tally.lost) + " lost") +
      Row("messages", Grouped(tally.sent) + " sent, " + Grouped(tally.received) + " received, " +
                          Grouped(tally.Unanswered()) + " unanswered") +
      Row("keep-alives",
          Grouped(tally.keepAlives) + " sent, " + Grouped(tally.keepAliveAnswers) + " answered") +
      Row("rate", RateLine(outcome)) + Row("errors", ErrorLine(tally)) + LatencyRows(tally) +
      Row("this process", Decimal(PercentOfProcessor(outcome), 0) + " % of a core");
  if (const auto shortfall = Shortfall(outcome)) table += "fell short: " + *shortfall + '\n';
  return table;
}

std::string Json(const Outcome& outcome) {
  const auto& tally = outcome.tally;
  const auto connections = JsonObject()
                               .Add("asked", outcome.options.clients)
                               .Add("made", tally.connected)
                               .Add("failed", tally.failed)
                               .Add("lost", tally.lost)
                               .Text();
  const auto messages = JsonObject()
                            .Add("due", tally.due)
                            .Add("sent", tally.sent)
                            .Add("received", tally.received)
                            .Add("answered", tally.answered)
                            .Add("unanswered", tally.Unanswered())
                            .Text();
  const auto keepAlives =
      JsonObject().Add("sent", tally.keepAlives).Add("answered", tally.keepAliveAnswers).Text();
  const auto& rate = outcome.options.rate;
  const auto shortfall = Shortfall(outcome);
  return JsonObject()
      .Add("connections", connections)
      .Add("messages", messages)
      .Add("keep_alives", keepAlives)
      .Add("rate_asked", rate ? std::to_string(*rate) : "null")
      .Add("rate", ASecond(outcome, outcome.inTime))
      .Add("errors", ErrorsJson(tally))
      .Add("latency_us", LatencyJson(tally.latencies))
      .Add("seconds", Decimal(Seconds(outcome), 3))
      .Add("processor_percent", Decimal(PercentOfProcessor(outcome), 1))
      .Add("fell_short", shortfall ? "\"" + *shortfall + "\"" : "null")
      .Text();
}

std::string ProgressLine(const LoadOptions& options, const Tally& tally, Clock::duration passed) {
  return Decimal(std::chrono::duration<double>(passed).count(), 0) +
         " s: " + Grouped(tally.connected) + " of " + Grouped(options.clients) + " connected, " +
         Grouped(tally.sent) + " sent, " + Grouped(tally.answered) + " answered, " +
         Grouped(tally.failed + tally.lost) + " failed or lost";
}

}  // namespace tlk::load
