#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "log/iLogger.h"
#include "platform/Export.h"
#include "platform/Fork.h"
#include "platform/Platform.h"

namespace tlk {

class LogWriter;
class RecordStamp;
struct RecordHead;

/// The log that writes to a file.
///
/// Callers queue finished lines and never touch the disk. A thread of the log's own, started with
/// the first line, appends them to the file, which is opened and closed for each line: it is whole
/// on disk at every moment. A file that grows past its limit becomes STEM1.log, STEM1.log becomes
/// STEM2.log, and so on; the oldest is deleted. (A file whose name does not end in ".log" is never
/// rotated.)
///
/// When more bytes are queued than the limit allows, the file gets the line
///
///     ---------------------------- max logger queue size ----------------------------
///
/// and producers wait until the queue is down to half of it and the file has got
///
///     ---------------------------- logger queue cleared ----------------------------
///
/// Memory that runs out costs the lines for which there is none, which is announced on standard
/// output. A file that cannot be opened costs the line at hand; it is announced on standard output,
/// and the next queued line makes the writer try again. A full disk costs every line until there is
/// room.
///
/// The queue is one for the whole process, as it always was: with several logs alive at a time,
/// each writes what it finds, and lines of one may end up in the file of another.
///
/// A process that forks keeps its log: the child's goes on with the same settings (folder, level,
/// echo, rotation, queue limit, hooks), an empty queue that holds nobody back, and a writer thread
/// of its own, started with the child's first line. What was queued before is written by the parent
/// alone. Both append to the same file unless the child sets another folder.
///
/// When the system refuses a part that the log is made of, that is announced on standard output,
/// and the log stays, unusable: it drops every line.
class TLKC2_API QNLogger final : public iLogger {
 public:
  /// Called on the writer thread with its context, a category ("System") and a name ("WriteLog"),
  /// for a host that keeps a list of its threads. Must not throw.
  using Hook = void (*)(void* context, const char* category, const char* name);

  /// A log that writes to `fileName`, with `threshold` as its verbosity. The ports must outlive the
  /// writer thread, which may end shortly after the log.
  QNLogger(std::string_view fileName, const std::int32_t& threshold,
           const Platform& platform = SystemPlatform());

  /// Tells the writer, if one runs, to stop, and gives it one second to write what is queued.
  ~QNLogger() override;

  /// Waits up to a second for what is queued to be written, and up to another for the writer to
  /// end, before a time in which nothing is logged. The next line starts another writer.
  void Rest();

  /// Says what to call when the writer thread starts, and when it ends. Returns true.
  /// @{
  bool SetThreadStartHook(Hook hook, void* context);
  bool SetThreadEndHook(Hook hook, void* context);
  /// @}

  /// Sets the folder in which the log files lie, and keeps it: `SetDirectory` has no effect from
  /// then on, and only another call of this one changes it.
  void KeepDirectory(const std::string& directory);

  [[nodiscard]] std::string GetDirectory() const override;
  void SetDirectory(const std::string& directory) override;
  void SetMaxQueueSize(std::int32_t bytes) override;
  [[nodiscard]] std::int32_t GetMaxQueueSize() const override;
  void SetLevel(const std::int32_t& level) override;
  [[nodiscard]] std::int32_t GetLevel() const override;
  void SetConsoleEcho(bool echo) override;
  void SetRotation(const std::int32_t& maxFileSize, const std::int32_t& fileCount) override;

  void LogNormal(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                 std::int32_t line, ...) override;
  void LogNormal(std::int32_t level, std::uint32_t message, const char* source, std::int32_t line,
                 ...) override;
  void LogWarning(ModuleHandle module, std::int32_t level, std::uint32_t message,
                  const char* source, std::int32_t line, ...) override;
  void LogWarning(std::int32_t level, std::uint32_t message, const char* source, std::int32_t line,
                  ...) override;
  void LogError(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                std::int32_t line, ...) override;
  void LogError(std::int32_t level, std::uint32_t message, const char* source, std::int32_t line,
                ...) override;

  void Write(std::string_view record) override;

  /// Returns 0 at once while no writer runs, as for a log that has never been given a line or is
  /// unusable.
  std::uint32_t Flush() override;

  void CopyLineList(LineList& lines) override;
  void GetLineList(LineList& lines) override;
  std::int32_t ScanLog(const std::int32_t& file, LineList& lines) override;

 private:
  [[nodiscard]] std::string ScanPath(std::int32_t file) const;
  void WriteRecord(const RecordHead& head, std::va_list values);
  [[nodiscard]] RecordStamp StampOfNow(std::string_view mark) const;
  void GoOnInChild();

  const Platform m_platform;
  std::atomic<std::int32_t> m_threshold;

  // Shared with the writer thread, which may outlive the log by a pass. Only a forked child, which
  // has one thread then, puts another in its place.
  std::shared_ptr<LogWriter> m_writer;
  const InForkedChild m_inChild;
};

}  // namespace tlk
