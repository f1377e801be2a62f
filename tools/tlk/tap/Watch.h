#pragma once

#include <asio/thread_pool.hpp>
#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "tools/tlk/tap/Observer.h"
#include "tools/tlk/tap/Printer.h"
#include "tools/tlk/tap/Recorder.h"

namespace tlk::tap {

/// Has an observer look at what passes, on a thread of its own, so that looking holds nobody up.
/// Nothing is left out: a tap waits while `IsBehind`.
class Watch {
 public:
  /// Records into `record` if that is a file.
  Watch(const wire::ViewOptions& view, OpenFile record);

  // What the observer is to see; it sees things in the order of these calls, of one thread.
  void Connected(int client);
  void Bytes(int client, Way way, std::string bytes);
  void Ended(int client, Way way);
  void Gone(int client, Ending ending, std::string how);
  void Say(std::string text);

  /// Whether so much is still to be looked at that no more should come.
  [[nodiscard]] bool IsBehind() const { return m_waiting > kMostWaiting; }

  /// Returns when all has been looked at and printed, and why it was not all recorded, or nothing.
  [[nodiscard]] std::string Finish();

 private:
  using Look = std::function<void(Observer&, const Moment&)>;
  void Post(Look look);

  static constexpr std::size_t kMostWaiting = 32U << 20U;

  Printer m_printer;
  std::optional<Recorder> m_recorder;
  Observer m_observer;
  std::atomic<std::size_t> m_waiting{0};  ///< Bytes that nobody has looked at yet.
  asio::thread_pool m_thread;
};

}  // namespace tlk::tap
