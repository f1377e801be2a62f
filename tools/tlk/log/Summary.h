#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/tlk/log/Connections.h"
#include "tools/tlk/log/Record.h"
#include "tools/tlk/log/Tally.h"

namespace tlk::log {

/// Sums a log up: its connections, which are printed as they end, its messages by type, its errors
/// by place. Takes bounded memory.
class Summary {
 public:
  explicit Summary(const Connections::Print& print);

  void Take(const Record& record);

  /// Prints all but the connections.
  void End();

 private:
  void CountMessages(const Record& record);
  void CountError(const Record& record);
  void PrintTally(const std::string& title, const Tally& tally, bool hasRates) const;
  [[nodiscard]] std::string Rate(std::uint64_t count) const;

  const Connections::Print m_print;
  Connections m_connections;
  Tally m_sent;
  Tally m_received;
  Tally m_skipped;
  Tally m_errors;
  std::uint64_t m_records = 0;
  std::uint64_t m_forged = 0;
  std::uint64_t m_suspect = 0;
  std::optional<Moment> m_first;
  Moment m_last = 0;
  std::string m_firstStamp;
  std::string m_lastStamp;
};

}  // namespace tlk::log
