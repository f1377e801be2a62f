#include "tools/tlk/log/Summary.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/tlk/Printable.h"
#include "tools/tlk/log/SentMessages.h"
#include "transport/TraceLog.h"

namespace tlk::log {
namespace {

// A person reads no more.
constexpr std::size_t kMostRows = 100;

constexpr std::string_view kLeftOut = "(left out)";

std::string_view TypeIn(std::string_view message, std::string_view opening) {
  const std::string_view type = message.substr(std::min(opening.size(), message.size()));
  return IsLeftOut(type) ? kLeftOut : type;
}

/// A count in a column of its own.
std::string Counted(std::uint64_t count) {
  std::string text = std::to_string(count);
  constexpr std::size_t kColumn = 10;
  if (text.size() < kColumn) text.insert(0, kColumn - text.size(), ' ');
  return text;
}

}  // namespace

Summary::Summary(const Connections::Print& print) : m_print(print), m_connections(print) {
  m_print("connections:");
}

void Summary::Take(const Record& record) {
  m_forged += record.hasForgedLines ? 1U : 0U;
  m_suspect += record.isSuspect ? 1U : 0U;
  if (!record.hasHead) return;
  ++m_records;
  if (!m_first || record.head.time < *m_first) {
    m_first = record.head.time;
    m_firstStamp = record.head.stamp;
  }
  if (m_records == 1 || record.head.time >= m_last) {
    m_last = record.head.time;
    m_lastStamp = record.head.stamp;
  }
  m_connections.Take(record);
  CountMessages(record);
  if (record.IsError()) CountError(record);
}

void Summary::CountMessages(const Record& record) {
  if (!record.hasSource || record.source.name != trace::kSourceName) return;
  const auto opens = [&](const TraceRecord& kind) {
    return record.source.line == kind.line && record.message.starts_with(kind.text);
  };
  if (opens(trace::kMessageReceived)) {
    m_received.Add(TypeIn(record.message, trace::kMessageReceived.text));
  } else if (opens(trace::kMessageSkipped)) {
    m_skipped.Add(TypeIn(record.message, trace::kMessageSkipped.text));
  } else if (opens(trace::kMessageSent)) {
    const std::string_view messages = TypeIn(record.message, trace::kMessageSent.text);
    if (messages == kLeftOut) m_sent.Add(kLeftOut);
    VisitSentTypes(messages, [this](const std::string& type) { m_sent.Add(type); });
  }
}

void Summary::CountError(const Record& record) {
  std::string_view message = record.message;
  std::string_view words = TakeLine(message);
  // Numbers at the end are what differs between records of one place.
  words = words.substr(0, words.find_last_not_of("-0123456789 ") + 1);
  const std::string_view source = record.source.name.substr(0, Tally::kLongestName / 2);
  m_errors.Add(std::string(source) + ' ' + std::to_string(record.source.line) + "  " +
               std::string(words));
}

void Summary::End() {
  m_connections.End();
  PrintTally("connections and attempts by end", m_connections.Ends(), false);
  PrintTally("messages sent", m_sent, true);
  PrintTally("messages received", m_received, true);
  PrintTally("messages skipped", m_skipped, true);
  PrintTally("errors", m_errors, false);
  m_print("connected: " + std::to_string(m_connections.Begun()));
  m_print("records: " + std::to_string(m_records) +
          (m_first ? ", from " + m_firstStamp + " to " + m_lastStamp : ""));
  if (m_forged != 0)
    m_print("with forged lines, which are not counted: " + std::to_string(m_forged));
  if (m_suspect != 0) m_print("suspect: " + std::to_string(m_suspect));
}

void Summary::PrintTally(const std::string& title, const Tally& tally, bool hasRates) const {
  if (tally.Total() == 0) return;
  m_print(title + ": " + std::to_string(tally.Total()) + (hasRates ? Rate(tally.Total()) : ""));
  std::uint64_t shown = 0;
  for (const auto& [name, count] : tally.Top(kMostRows)) {
    m_print(Counted(count) + "  " + Printable(name) + (hasRates ? Rate(count) : ""));
    shown += count;
  }
  if (shown < tally.Total()) m_print(Counted(tally.Total() - shown) + "  others");
}

/// How many a minute. Nothing when all is of one moment.
std::string Summary::Rate(std::uint64_t count) const {
  if (!m_first || m_last <= *m_first) return {};
  std::array<char, 40> text;
  const double minutes = static_cast<double>(m_last - *m_first) / kMinute;
  std::snprintf(text.data(), text.size(), " (%.1f/min)", static_cast<double>(count) / minutes);
  return text.data();
}

}  // namespace tlk::log
