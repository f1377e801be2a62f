#include "tools/tlk/log/Connections.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "transport/TraceLog.h"

namespace tlk::log {
namespace {

// More than a log of honest programs has at a time.
constexpr std::size_t kMostOpen = 10'000;

enum class Role { kEnd, kFailure };

struct Reason {
  std::int32_t line;
  Role role;
  std::string_view text;
};

/// The records that tell of an end, or of a connection that was not made. Those that end in a
/// number have it behind the text.
constexpr Reason kReasons[] = {
    {trace::kDisconnectRequested.line, Role::kEnd, "disconnected by the host"},
    {trace::kConnectFailed.reason.line, Role::kFailure, "connect failed"},
    {trace::kKeepAliveOptionFailed.reason.line, Role::kFailure, "no keep-alive"},
    {trace::kAsyncSelectFailed.reason.line, Role::kFailure, "no notifications"},
    {trace::kNotifiedReset.reason.line, Role::kEnd, "reset by the server"},
    {trace::kNotifiedRefused.reason.line, Role::kFailure, "refused"},
    {trace::kNotifiedAborted.reason.line, Role::kEnd, "aborted by this system"},
    {trace::kNotifiedUnknown.reason.line, Role::kEnd, "error"},
    {trace::kReadFailed.reason.line, Role::kEnd, "reading failed"},
    {trace::kClosed.line, Role::kEnd, "closed by the server"},
    {trace::kSendReset.reason.line, Role::kEnd, "reset by the server"},
    {trace::kSendRefused.reason.line, Role::kFailure, "refused"},
    {trace::kSendAborted.reason.line, Role::kEnd, "aborted by this system"},
    {trace::kSendUnknown.reason.line, Role::kEnd, "sending failed"},
    {trace::kReceiveFailed.reason.line, Role::kEnd, "receiving failed"},
    {trace::kInvalidLength.line, Role::kEnd, "bad stamp"},
    {trace::kPrefixFailed.reason.line, Role::kEnd, "receiving failed"},
    {trace::kInvalidPrefixLength.line, Role::kEnd, "bad stamp"},
    {trace::kBodyFailed.reason.line, Role::kEnd, "receiving failed"},
    {trace::kBlockingPrefixFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kBlockingInvalidLength.line, Role::kEnd, "bad stamp in a reply"},
    {trace::kBlockingBodyFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kNotificationsOffFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kBlockingFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kSendTimeoutFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kReceiveTimeoutFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kBlockingSendFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kBlockingReadFailed.reason.line, Role::kEnd, "request failed"},
    {trace::kNotificationsOnFailed.reason.line, Role::kEnd, "request failed"},
};

const Reason* FindReason(std::int32_t line) {
  const auto* const found =
      std::find_if(std::begin(kReasons), std::end(kReasons),
                   [line](const Reason& reason) { return reason.line == line; });
  return found == std::end(kReasons) ? nullptr : found;
}

bool IsConnected(const Record& record) {
  return record.source.line == trace::kConnectedLine ||
         record.source.line == trace::kConnectSucceededLine;
}

/// The reason with the number that the record ends with, if it does.
std::string Describe(const Reason& reason, std::string_view message) {
  std::string text(reason.text);
  const std::string_view word = message.substr(message.rfind(' ') + 1);
  constexpr std::size_t kLongestNumber = 11;
  if (!word.empty() && word.size() <= kLongestNumber &&
      word.find_first_not_of("-0123456789") == word.npos) {
    text += ' ';
    text += word;
  }
  return text;
}

std::string Seconds(Moment duration) {
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), "%.3f s", static_cast<double>(duration) / kSecond);
  return text.data();
}

std::string Named(std::int32_t thread) { return "  thread " + std::to_string(thread) + "  "; }

}  // namespace

void Connections::Take(const Record& record) {
  if (!record.hasHead || !record.hasSource || record.source.name != trace::kSourceName) return;
  if (IsConnected(record)) return Begin(record);
  const Reason* const reason = FindReason(record.source.line);
  if (reason == nullptr) return;
  const std::string text = Describe(*reason, record.message);
  if (reason->role == Role::kEnd) return EndOldest(record, text);
  m_ends.Add(text);
  m_print(Named(record.head.thread) + std::string(record.head.stamp) + "  " + text);
}

void Connections::End() {
  for (const auto& [thread, beginnings] : m_open) {
    for (const auto& beginning : beginnings)
      m_print(Named(thread) + beginning.stamp + "  no end in the log");
  }
  m_open.clear();
  if (m_notFollowed == 0) return;
  m_print("  not followed, for too many were open: " + std::to_string(m_notFollowed));
}

void Connections::Begin(const Record& record) {
  ++m_begun;
  if (m_openCount == kMostOpen) {
    ++m_notFollowed;
    return;
  }
  ++m_openCount;
  m_open[record.head.thread].push_back({std::string(record.head.stamp), record.head.time});
}

void Connections::EndOldest(const Record& record, const std::string& reason) {
  const auto found = m_open.find(record.head.thread);
  if (found == m_open.end()) return;
  const Beginning beginning = found->second.front();
  found->second.pop_front();
  if (found->second.empty()) m_open.erase(found);
  --m_openCount;
  m_ends.Add(reason);
  m_print(Named(record.head.thread) + beginning.stamp + " to " + std::string(record.head.stamp) +
          "  " + Seconds(record.head.time - beginning.time) + "  " + reason);
}

}  // namespace tlk::log
