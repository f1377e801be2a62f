#include "tools/tlk/log/Tally.h"

#include <algorithm>

namespace tlk::log {
namespace {

constexpr std::size_t kMostNames = 4096;
constexpr std::size_t kNamesKept = 1024;

bool ComesBefore(const Tally::Row& one, const Tally::Row& other) {
  return one.second != other.second ? one.second > other.second : one.first < other.first;
}

}  // namespace

void Tally::Add(std::string_view name, std::uint64_t count) {
  m_total += count;
  name = name.substr(0, kLongestName);
  if (const auto found = m_counts.find(name); found != m_counts.end()) {
    found->second += count;
    return;
  }
  if (m_counts.size() == kMostNames) DropRarest();
  m_counts.emplace(name, count);
}

std::vector<Tally::Row> Tally::Top(std::size_t most) const {
  std::vector<Row> rows(m_counts.begin(), m_counts.end());
  std::ranges::sort(rows, ComesBefore);
  rows.resize(std::min(rows.size(), most));
  return rows;
}

void Tally::DropRarest() {
  const std::vector<Row> kept = Top(kNamesKept);
  m_counts.clear();
  m_counts.insert(kept.begin(), kept.end());
}

}  // namespace tlk::log
