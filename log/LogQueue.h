#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "log/LineBatch.h"
#include "log/QueueGauge.h"
#include "platform/Fork.h"

namespace tlk {

/// The lines that wait to be written: one queue for all logs of the process.
///
/// Each log guards its own steps on the queue with a lock of its own, so two logs exclude each
/// other only by the small mutex in here. It is never held for longer than one step. A forked child
/// begins with an empty one: what waits at the fork is written by the parent.
class LogQueue {
 public:
  /// The queue of the process. Who may outlive the static objects, as a writer may, keeps a share.
  [[nodiscard]] static std::shared_ptr<LogQueue> OfProcess();

  /// Adds a line put together from its pieces, and its length to the gauge of its log.
  void PushBack(std::initializer_list<std::string_view> pieces, QueueGauge& gauge);

  /// Moves all lines to an empty batch, whose memory the queue uses from here on, and sets the mark
  /// of the log that takes them.
  void TakeAll(LineBatch& lines, QueueGauge& gauge, std::int32_t limit);

  /// Puts lines back in front of those that have come since, and leaves the batch empty.
  void GiveBack(LineBatch& lines);

 private:
  ForkMutex m_guard;
  LineBatch m_lines;
  const InForkedChild m_emptied{[this] { m_lines = {}; }};
};

}  // namespace tlk
