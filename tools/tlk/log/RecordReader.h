#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "tools/tlk/log/Record.h"

namespace tlk::log {

/// Makes records of the bytes of a log, in whatever pieces they come.
///
/// A record ends with the line that its source ends. One that holds a text of others ends with its
/// own source alone, so what looks like a record before that is a line of the text. A record whose
/// end is missing ends where the next begins. A line between two records is one by itself. Memory
/// is bounded: what goes on for longer than any record can be is cut.
class RecordReader {
 public:
  /// Twice what a record holds at most: 8,192 characters, on Windows with two bytes for a line end.
  static constexpr std::size_t kLongestRecord = 32768;

  /// Takes the next bytes. The texts of the last record are gone.
  void Append(std::string_view bytes);

  /// The file ends here: what is left is given out as it is, and the next bytes are another file's.
  void End() { m_isEnded = true; }

  /// Finds the next record; false when more bytes are needed first. Its texts stay until the next
  /// call.
  [[nodiscard]] bool Next(Record& record);

  /// Whether whole lines wait for what would end their record.
  [[nodiscard]] bool HoldsLines() const { return m_bytes.ends_with('\n') && HoldsBytes(); }

 private:
  static constexpr std::size_t kNowhere = std::string::npos;

  [[nodiscard]] bool HoldsBytes() const { return m_begin < m_bytes.size(); }
  [[nodiscard]] bool SkipRestOfLine();
  [[nodiscard]] bool TakeLineUpTo(std::size_t next, Record& record);
  void BeginRecord(std::string_view line);
  void NoteForgedLine(std::size_t next);
  [[nodiscard]] bool IsLastLine(std::string_view line) const;
  void GiveUp(Record& record);
  void Give(std::size_t end, Record& record);
  void JudgeOrder(Record& record);

  std::string m_bytes;
  std::size_t m_begin = 0;  // Of the record at hand.
  std::size_t m_scan = 0;   // Of its first line not looked at.
  bool m_isEnded = false;
  bool m_isSkipping = false;  // The rest of a line that was cut.

  // Of the record at hand, once its first line has been looked at.
  bool m_hasHead = false;
  RecordHead m_head;
  const PeerRecord* m_peer = nullptr;    // What it is, when it holds a text of others.
  std::size_t m_firstForged = kNowhere;  // The first line in it that looks like a record.

  // Up to where no line ends a peer's record of each kind: many that lack their end are not all
  // searched for it.
  std::array<std::size_t, std::size(kPeerRecords)> m_endless{};

  // Of the record before.
  bool m_wasPeers = false;
  bool m_hadHead = false;
  Moment m_lastTime = 0;
};

}  // namespace tlk::log
