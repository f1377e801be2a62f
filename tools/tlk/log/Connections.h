#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "tools/tlk/log/Record.h"
#include "tools/tlk/log/Tally.h"

namespace tlk::log {

/// Follows the connections of each thread by its records, and tells of each when it has ended.
///
/// A record does not say of which control it is. Where a thread has several, an end is taken to be
/// that of its oldest connection.
class Connections {
 public:
  using Print = std::function<void(std::string_view line)>;

  explicit Connections(Print print) : m_print(std::move(print)) {}

  void Take(const Record& record);

  /// Tells of those that have not ended.
  void End();

  /// How many ended for which reason, those that were never made among them.
  [[nodiscard]] const Tally& Ends() const { return m_ends; }

  [[nodiscard]] std::uint64_t Begun() const { return m_begun; }

 private:
  struct Beginning {
    std::string stamp;
    Moment time;
  };

  void Begin(const Record& record);
  void EndOldest(const Record& record, const std::string& reason);

  const Print m_print;
  std::map<std::int32_t, std::deque<Beginning>> m_open;
  std::size_t m_openCount = 0;
  std::uint64_t m_begun = 0;
  std::uint64_t m_notFollowed = 0;
  Tally m_ends;
};

}  // namespace tlk::log
