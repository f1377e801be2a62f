#include "tools/tlk/Nearest.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace tlk {
namespace {

constexpr std::size_t kMostEdits = 2;

/// How many letters have to be added, removed or changed; `edits` counts them for each beginning of
/// `to` and a beginning of `from` that grows.
std::size_t CountEdits(std::string_view from, std::string_view to) {
  std::vector<std::size_t> edits(to.size() + 1);
  std::iota(edits.begin(), edits.end(), 0U);
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t before = std::exchange(edits[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = before + (from[i] == to[j] ? 0 : 1);
      before = edits[j + 1];
      edits[j + 1] = std::min({changed, before + 1, edits[j] + 1});
    }
  }
  return edits.back();
}

}  // namespace

std::string Nearest(std::string_view word, std::span<const std::string> known) {
  std::string nearest;
  std::size_t fewest = kMostEdits + 1;
  for (const auto& candidate : known) {
    const std::size_t edits = CountEdits(word, candidate);
    if (edits < fewest) {
      fewest = edits;
      nearest = candidate;
    }
  }
  return nearest;
}

}  // namespace tlk
