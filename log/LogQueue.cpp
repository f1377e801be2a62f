#include "log/LogQueue.h"

#include <utility>

namespace tlk {

std::shared_ptr<LogQueue> LogQueue::OfProcess() {
  static const auto queue = std::make_shared<LogQueue>();
  return queue;
}

std::size_t LogQueue::PushBack(std::initializer_list<std::string_view> pieces) {
  const std::lock_guard lock(m_guard);
  return m_lines.PushBack(pieces);
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
