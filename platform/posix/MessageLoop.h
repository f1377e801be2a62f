#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Export.h"

namespace tlk {

class Sockets;

/// The message loop of one thread: delivers the timers of its controls and the notifications of
/// their sockets. One wait serves them all, however many there are.
///
/// Everything here but `Post` belongs to the thread that made the loop. A handler may run the loop
/// again, make and destroy controls, its own included. Controls end before the loop. Its end waits
/// until the peers that go on reading have what was sent to them: for up to five seconds in which
/// none of them takes anything. A forked child leaves the loops of its parent alone.
///
/// It may stand in a loop of somebody else's (GLib, Qt, libuv, epoll): that loop waits until
/// `WaitDescriptor` can be read or `MillisecondsToNext` have passed, and then calls
/// `DispatchOnce(0)`. The time is asked for anew before each wait.
class TLKC2_API MessageLoop {
 public:
  MessageLoop();
  ~MessageLoop();

  MessageLoop(const MessageLoop&) = delete;
  MessageLoop& operator=(const MessageLoop&) = delete;

  /// Waits up to `milliseconds` (no limit when negative, not at all for 0) for something to deliver
  /// and delivers one round of it. Returns whether anything was delivered.
  bool DispatchOnce(int milliseconds);

  /// Delivers for that long.
  void Run(std::uint32_t milliseconds);

  /// Delivers as `DispatchOnce` does, but also returns as soon as `descriptor` can be read or has
  /// come to its end; tells whether it has.
  bool DispatchOnceOrReadable(int descriptor, int milliseconds);

  /// Has the loop's thread call `function`, behind what was posted before, in a round of delivery
  /// to come; a loop that waits is woken. It must not throw. False for an empty one, when there is
  /// no memory for it, or when the system refused the loop its descriptors: it is never called
  /// then. What has not been called when the loop ends never is. Any thread may post, while the
  /// loop lives.
  bool Post(std::function<void()> function) noexcept;

  /// Can be read (as poll and epoll tell, never by `read`) when the system has something for
  /// `DispatchOnce`. It stays the loop's, and the same. Negative when the system refused it.
  [[nodiscard]] int WaitDescriptor() const;

  /// Milliseconds until `DispatchOnce` has something to do even if `WaitDescriptor` cannot be read:
  /// 0 when it has now, -1 when nothing is to come.
  [[nodiscard]] int MillisecondsToNext() const;

  /// The sockets whose notifications this loop delivers.
  [[nodiscard]] Sockets& GetSockets();

 private:
  friend class MessageWindow;
  struct Parts;

  [[nodiscard]] int WaitLimit(int milliseconds) const;
  bool FireTimers();

  const std::unique_ptr<Parts> m_parts;
};

}  // namespace tlk
