#pragma once

#include "platform/Export.h"
#include "platform/Platform.h"

namespace tlk {

/// Holds the thread layer ready for a scope: made when a module is loaded, before its log, and
/// ended when it is unloaded. The first one makes the record of the main thread, on the thread that
/// makes the scope; the last one to end destroys it. Made and ended by one thread at a time, and
/// ended when no thread that the layer started runs any more. It never waits.
class TLKC2_API ThreadLayer {
 public:
  /// The ports of the first scope serve the whole layer while it lasts; they outlive it.
  explicit ThreadLayer(const Platform& platform = SystemPlatform()) noexcept;
  ~ThreadLayer();

  ThreadLayer(const ThreadLayer&) = delete;
  ThreadLayer& operator=(const ThreadLayer&) = delete;

  /// What the layer stands on: the system's own ports while there is no scope.
  [[nodiscard]] static const Platform& Ports() noexcept;
};

}  // namespace tlk
