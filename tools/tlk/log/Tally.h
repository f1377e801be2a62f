#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tlk::log {

/// Counts things by name in bounded memory, however many names there are: when they become too
/// many, the rarest go, and what they counted is only known together.
class Tally {
 public:
  using Row = std::pair<std::string, std::uint64_t>;

  /// A name is cut after so many bytes.
  static constexpr std::size_t kLongestName = 200;

  void Add(std::string_view name, std::uint64_t count = 1);

  /// The names with the highest counts, at most so many, the highest first.
  [[nodiscard]] std::vector<Row> Top(std::size_t most) const;

  [[nodiscard]] std::uint64_t Total() const { return m_total; }

 private:
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };

  void DropRarest();

  std::unordered_map<std::string, std::uint64_t, Hash, std::equal_to<>> m_counts;
  std::uint64_t m_total = 0;
};

}  // namespace tlk::log
