#include "log/LogQueue.h"

#include <utility>

namespace tlk {

std::shared_ptr<LogQueue> LogQueue::OfProcess() {
  static const auto queue = std::make_shared<LogQueue>();
  return queue;
}

void LogQueue::PushBack(std::string line) {
  const std::lock_guard lock(m_guard);
  m_lines.push_back(std::move(line));
}

void LogQueue::PushFront(std::string line) {
  const std::lock_guard lock(m_guard);
  m_lines.push_front(std::move(line));
}

bool LogQueue::IsEmpty() const {
  const std::lock_guard lock(m_guard);
  return m_lines.empty();
}

std::optional<std::string> LogQueue::TakeFront() {
  const std::lock_guard lock(m_guard);
  if (m_lines.empty()) return std::nullopt;
  std::optional<std::string> line(std::move(m_lines.front()));
  m_lines.pop_front();
  return line;
}

}  // namespace tlk
