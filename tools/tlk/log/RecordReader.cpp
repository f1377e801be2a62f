#include "tools/tlk/log/RecordReader.h"

#include <algorithm>

namespace tlk::log {
namespace {

// Threads that record at the same moment may be written the other way round.
constexpr Moment kUsualDisorder = 2 * kSecond;

/// Which record with a text of others begins so; null for none.
const PeerRecord* FindPeerRecord(const RecordHead& head, std::string_view line) {
  if (head.mark != 'N') return nullptr;
  const std::string_view message = line.substr(head.length);
  const auto* const found =
      std::find_if(std::begin(kPeerRecords), std::end(kPeerRecords),
                   [&](const PeerRecord& peer) { return message.starts_with(peer.opening); });
  return found == std::end(kPeerRecords) ? nullptr : found;
}

/// Whether a line is the end of a record with a text of others, and nothing else.
bool IsLeftOverEnd(std::string_view line) {
  return std::any_of(std::begin(kPeerRecords), std::end(kPeerRecords),
                     [&](const PeerRecord& peer) { return line == peer.ending; });
}

/// At the end of summer time the clock goes back by an hour.
bool IsStepBack(Moment difference) {
  return difference < -kUsualDisorder &&
         (difference < -kHour - kUsualDisorder || difference > -kHour + kUsualDisorder);
}

std::size_t Sooner(std::size_t position, std::size_t by) {
  return position == std::string::npos ? position : position - std::min(position, by);
}

}  // namespace

void RecordReader::Append(std::string_view bytes) {
  m_scan -= m_begin;
  m_firstForged = Sooner(m_firstForged, m_begin);
  for (std::size_t& position : m_endless) position = Sooner(position, m_begin);
  m_bytes.erase(0, m_begin);
  m_begin = 0;
  m_bytes += bytes;
}

bool RecordReader::Next(Record& record) {
  if (m_isSkipping && !SkipRestOfLine()) return false;
  for (;;) {
    const std::size_t feed = m_bytes.find('\n', m_scan);
    const std::size_t next = feed == kNowhere ? m_bytes.size() : feed + 1;
    const bool isLine = feed != kNowhere || (m_isEnded && m_scan < m_bytes.size());
    if (next - m_begin > kLongestRecord || (!isLine && m_isEnded && HoldsBytes())) {
      GiveUp(record);
      return true;
    }
    if (!isLine) {
      m_isEnded = false;
      return false;
    }
    if (TakeLineUpTo(next, record)) return true;
  }
}

bool RecordReader::SkipRestOfLine() {
  const std::size_t feed = m_bytes.find('\n', m_begin);
  m_begin = m_scan = feed == kNowhere ? m_bytes.size() : feed + 1;
  m_isSkipping = feed == kNowhere && !m_isEnded;
  return !m_isSkipping;
}

bool RecordReader::TakeLineUpTo(std::size_t next, Record& record) {
  const std::string_view line = WithoutEnd(std::string_view(m_bytes).substr(m_scan, next - m_scan));
  if (m_scan == m_begin) {
    BeginRecord(line);
  } else if (RecordHead head; ReadHead(line, head)) {
    if (m_peer == nullptr) return Give(m_scan, record), true;
    if (m_firstForged == kNowhere) {
      NoteForgedLine(next);
      if (m_scan != m_firstForged) return false;
    }
  }
  if (IsLastLine(line)) return Give(next, record), true;
  m_scan = next;
  return false;
}

void RecordReader::BeginRecord(std::string_view line) {
  m_hasHead = ReadHead(line, m_head);
  m_peer = m_hasHead ? FindPeerRecord(m_head, line) : nullptr;
  m_firstForged = kNowhere;
}

void RecordReader::NoteForgedLine(std::size_t next) {
  m_firstForged = m_scan;
  const std::size_t endless = m_endless[static_cast<std::size_t>(m_peer - kPeerRecords)];
  if (endless > next) m_scan = endless;
}

bool RecordReader::IsLastLine(std::string_view line) const {
  if (!m_hasHead) return true;
  if (m_peer != nullptr) return line.ends_with(m_peer->ending);
  RecordSource source;
  return ReadSource(line, source);
}

/// The record at hand has no end. Then the first line in it that looks like a record is one.
void RecordReader::GiveUp(Record& record) {
  if (m_scan == m_begin) {
    BeginRecord(std::string_view(m_bytes).substr(m_begin, kLongestRecord));
    m_isSkipping = true;
    Give(m_begin + kLongestRecord, record);
    record.isCut = true;
    return;
  }
  if (m_peer != nullptr) m_endless[static_cast<std::size_t>(m_peer - kPeerRecords)] = m_scan;
  const std::size_t end = m_firstForged == kNowhere ? m_scan : m_firstForged;
  m_firstForged = kNowhere;
  Give(end, record);
}

void RecordReader::Give(std::size_t end, Record& record) {
  record = {};
  record.text = WithoutEnd(std::string_view(m_bytes).substr(m_begin, end - m_begin));
  record.message = record.text;
  record.hasHead = m_hasHead;
  if (m_hasHead) {
    const std::size_t lastLine = record.text.rfind('\n') + 1;  // 0 when there is one line.
    record.hasSource = ReadSource(record.text.substr(lastLine), record.source);
    if (record.hasSource) record.message = record.text.substr(0, lastLine + record.source.begin);
    (void)ReadHead(record.text, record.head);
    record.message =
        WithoutEnd(record.message.substr(std::min(record.head.length, record.message.size())));
  }
  record.hasForgedLines = m_firstForged != kNowhere;
  JudgeOrder(record);
  m_begin = m_scan = end;
}

void RecordReader::JudgeOrder(Record& record) {
  if (record.hasHead) {
    record.isSuspect = m_wasPeers && IsStepBack(record.head.time - m_lastTime);
    m_lastTime = record.head.time;
    m_hadHead = true;
  } else {
    record.isSuspect = m_hadHead && IsLeftOverEnd(record.text);
  }
  m_wasPeers = m_peer != nullptr;
}

}  // namespace tlk::log
