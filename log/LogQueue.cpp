#include "log/LogQueue.h"

#include <utility>

namespace tlk {

std::shared_ptr<LogQueue> LogQueue::OfProcess() {
  static const auto queue = std::make_shared<LogQueue>();
  return queue;
}

// The count is changed under the guard alone, so that it takes no more than a load and a store.
void LogQueue::PushBack(std::initializer_list<std::string_view> pieces,
                        std::atomic<std::uint32_t>& bytes) {
  const std::lock_guard lock(m_guard);
  const std::size_t length = m_lines.PushBack(pieces);
  bytes.store(bytes.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(length),
              std::memory_order_relaxed);
}

void LogQueue::TakeAll(LineBatch& lines) {
  const std::lock_guard lock(m_guard);
  std::swap(m_lines, lines);
}

void LogQueue::GiveBack(LineBatch& lines) {
  const std::lock_guard lock(m_guard);
  lines.PushBack(m_lines);
  m_lines = std::move(lines);
  lines = {};
}

}  // namespace tlk
