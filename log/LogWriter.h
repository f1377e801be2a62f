#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "log/LogQueue.h"
#include "log/LogRotation.h"
#include "log/LogSettings.h"
#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {

/// The queue's other end: the lock and the events of one log, and its writer thread.
///
/// It is shared by the log and the thread, so that a thread which is still writing when the log
/// ends touches nothing that is gone. All of it is safe from any thread.
class LogWriter : public std::enable_shared_from_this<LogWriter> {
 public:
  /// Makes the lock and the events. The first that the system refuses is announced on standard
  /// output, and the writer stays unusable.
  LogWriter(std::string_view fileName, const Platform& platform,
            std::shared_ptr<LogSettings> shared = std::make_shared<LogSettings>());

  LogSettings& settings;

  /// One like it, with the same settings, for a forked child to go on with: there the thread of
  /// this one is missing, in the middle of anything, and nobody may touch it again.
  [[nodiscard]] std::shared_ptr<LogWriter> Successor() const;

  /// Makes it as unusable as one that lacks a part, for a child that gets no successor.
  void GiveUp();

  /// Queues a line put together from its pieces and wakes the writer thread, starting it if need
  /// be. Waits while the queue is over its limit. A thread that cannot be started now is tried
  /// again with the next line. A line for which there is no memory is lost, and announced on
  /// standard output.
  void Queue(std::initializer_list<std::string_view> pieces);

  /// Waits until a pass has found the queue empty, or the limit has passed; 0 at once while no
  /// writer runs.
  [[nodiscard]] std::uint32_t Flush(std::uint32_t milliseconds);

  /// Tells the thread to write what is queued and to end; false when none runs. The next line
  /// starts another.
  bool Stop();

  /// Waits up to that long for what is queued to be written, then stops the thread and waits up to
  /// that long again for its end.
  void Rest(std::uint32_t milliseconds);

  /// The lock; null when the system refused a part.
  [[nodiscard]] SystemMutex* Lock() const { return m_isUsable ? m_lock.get() : nullptr; }

 private:
  [[nodiscard]] bool MakeParts();
  void EnsureStarted() {
    if (!m_isStarted) Start();
  }
  void Start();
  void QueueLine(std::initializer_list<std::string_view> pieces);
  void AskForPass();
  void Run();
  void EndByFailure();
  void EndOnRequest();
  void Drain();
  /// Writes until the queue is empty, or its lock fails; false when the file could not be opened.
  [[nodiscard]] bool RunPass();
  [[nodiscard]] bool HasLine();
  void MarkThrottle(bool& isOverflowMarked);
  void SettleThrottle(bool isFileOpened);
  [[nodiscard]] bool IsBelowHalf() const;
  void OpenThrottle();
  void FindPath();
  [[nodiscard]] bool WriteLine(std::string_view line);
  void KeepSize(std::int64_t size);
  void Rotate();
  void Echo(std::string_view line);
  void Show(std::initializer_list<std::string_view> pieces);

  const Platform m_platform;
  const std::shared_ptr<LogQueue> m_queue;
  const std::shared_ptr<LogSettings> m_settings;

  std::unique_ptr<SystemMutex> m_lock;
  std::unique_ptr<SystemEvent> m_work;     // Auto-reset: something is queued, or a flush waits.
  std::unique_ptr<SystemEvent> m_stop;     // Auto-reset: the log ends.
  std::unique_ptr<SystemEvent> m_drained;  // Auto-reset: a pass has found the queue empty.
  std::unique_ptr<SystemEvent> m_room;     // Manual-reset: producers may queue.
  bool m_isUsable;

  // The states that LogWriter.cpp tells of.
  std::atomic<bool> m_isAsked{false};
  std::atomic<bool> m_isThrottled{false};

  std::mutex m_startGuard;
  std::unique_ptr<SystemThread> m_thread;  // The one started last.
  std::atomic<bool> m_isStarted{false};
  std::atomic<bool> m_hasFailed{false};
  std::atomic<int> m_flushes{0};

  QueueGauge m_gauge;

  // Of the writer thread alone.
  bool m_isFullAnnounced = false;
  bool m_isStuckAnnounced = false;
  LogPlace m_place;
  std::string m_path;
  std::uint32_t m_pathVersion = 0;
  std::string m_shown;
  LineBatch m_taken;  // Empty between two passes, unless memory ran out.
};

}  // namespace tlk
