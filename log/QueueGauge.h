#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace tlk {

/// How many bytes of one log wait in the queue.
///
/// Producers count what they queue, and the writer counts what it takes. To read the count of the
/// other side costs both sides time, since the memory goes to and fro between their processors. So
/// the writer sets a mark, and reads the producers' count only when they have passed it.
class QueueGauge {
 public:
  /// A producer has queued so many bytes. Called under the queue's guard.
  void Add(std::size_t bytes) {
    const std::uint32_t queued = Load(m_queued) + static_cast<std::uint32_t>(bytes);
    m_queued.store(queued, std::memory_order_relaxed);
    if (IsBehind(queued, Load(m_mark)) && !m_isPassed) m_isPassed = true;
  }

  /// Sets the mark, so that `MayExceed` knows of this limit. Called by the writer, under the
  /// queue's guard.
  void SetMark(std::int32_t limit) {
    m_limit = limit;
    m_mark = m_taken + static_cast<std::uint32_t>(limit);
    m_isPassed = IsBehind(Load(m_queued), m_mark);
  }

  /// The writer has taken so many bytes. Marker lines count as well, though nobody counted them
  /// when they were queued: the gauge only steers the throttle.
  void Take(std::size_t bytes) { m_taken += static_cast<std::uint32_t>(bytes); }

  /// False only when no more bytes than that wait. Called by the writer.
  [[nodiscard]] bool MayExceed(std::int32_t limit) const {
    return limit != m_limit || limit < 0 || m_isPassed;
  }

  /// Called by the writer.
  [[nodiscard]] std::int32_t Waiting() const {
    return static_cast<std::int32_t>(Load(m_queued) - m_taken);
  }

 private:
  using Count = std::atomic<std::uint32_t>;  // It wraps around.

  // What lies closer together than this, one processor cannot change beside another.
  static constexpr std::size_t kApart = 64;

  [[nodiscard]] static std::uint32_t Load(const Count& count) {
    return count.load(std::memory_order_relaxed);
  }
  [[nodiscard]] static bool IsBehind(std::uint32_t count, std::uint32_t mark) {
    return static_cast<std::int32_t>(count - mark) > 0;
  }

  alignas(kApart) Count m_queued{0};
  alignas(kApart) Count m_mark{0};  // What `m_queued` may come to before too many bytes can wait.
  std::atomic<bool> m_isPassed{false};
  alignas(kApart) std::uint32_t m_taken = 0;
  std::int32_t m_limit = -1;
};

}  // namespace tlk
