#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string_view>

#include "log/LineBatch.h"

namespace tlk {

/// The lines that wait to be written: one queue for all logs of the process.
///
/// Each log guards its own steps on the queue with a lock of its own, so two logs exclude each
/// other only by the small mutex in here. It is never held for longer than one step.
class LogQueue {
 public:
  /// The queue of the process. Who may outlive the static objects, as a writer may, keeps a share.
  [[nodiscard]] static std::shared_ptr<LogQueue> OfProcess();

  /// Adds a line put together from its pieces, and its length to a count that nobody else changes
  /// but through the queue.
  void PushBack(std::initializer_list<std::string_view> pieces, std::atomic<std::uint32_t>& bytes);

  /// Moves all lines to an empty batch, whose memory the queue uses from here on.
  void TakeAll(LineBatch& lines);

  /// Puts lines back in front of those that have come since, and leaves the batch empty.
  void GiveBack(LineBatch& lines);

 private:
  std::mutex m_guard;
  LineBatch m_lines;
};

}  // namespace tlk
