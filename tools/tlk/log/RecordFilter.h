#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/tlk/log/Record.h"

namespace tlk::log {

/// Which records are asked for. What is not set lets all through.
struct Wanted {
  std::optional<Moment> since;
  std::optional<Moment> until;
  bool errorsOnly = false;
  std::optional<std::int32_t> thread;
  std::optional<std::int32_t> line;
  std::string source;  ///< With `line`.
  std::string text;    ///< In the code page of the log.
};

/// Lets the wanted records through. A line that belongs to no record has the time of the record
/// before it.
class RecordFilter {
 public:
  explicit RecordFilter(Wanted wanted) : m_wanted(std::move(wanted)) {}

  [[nodiscard]] bool Lets(const Record& record);

 private:
  [[nodiscard]] bool IsInTime() const;
  [[nodiscard]] bool IsFromThere(const Record& record) const;

  const Wanted m_wanted;
  std::optional<Moment> m_time;
};

}  // namespace tlk::log
