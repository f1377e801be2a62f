#include "log/LogQueue.h"

#include <mutex>
#include <utility>

namespace tlk {

std::shared_ptr<LogQueue> LogQueue::OfProcess() {
  static const auto queue = std::make_shared<LogQueue>();
  return queue;
}

void LogQueue::PushBack(std::initializer_list<std::string_view> pieces, QueueGauge& gauge) {
  const std::lock_guard lock(m_guard);
  gauge.Add(m_lines.PushBack(pieces));
}

void LogQueue::TakeAll(LineBatch& lines, QueueGauge& gauge, std::int32_t limit) {
  const std::lock_guard lock(m_guard);
  std::swap(m_lines, lines);
  gauge.SetMark(limit);
}

void LogQueue::GiveBack(LineBatch& lines) {
  const std::lock_guard lock(m_guard);
  lines.PushBack(m_lines);
  m_lines = std::move(lines);
  lines = {};
}

}  // namespace tlk
