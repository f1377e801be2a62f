#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tlk {

/// The lines that wait to be written: one queue for all logs of the process.
///
/// Each log guards its own steps on the queue with a lock of its own, so two logs exclude each
/// other only by the small mutex in here. It is never held for longer than one insertion or
/// removal.
class LogQueue {
 public:
  /// The queue of the process. Who may outlive the static objects, as a writer may, keeps a share.
  [[nodiscard]] static std::shared_ptr<LogQueue> OfProcess();

  void PushBack(std::string line);
  void PushFront(std::string line);
  [[nodiscard]] bool IsEmpty() const;

  /// The line at the front, or none: with a second log alive, a queue that was not empty may be
  /// now.
  [[nodiscard]] std::optional<std::string> TakeFront();

 private:
  mutable std::mutex m_guard;
  std::deque<std::string> m_lines;
};

}  // namespace tlk
