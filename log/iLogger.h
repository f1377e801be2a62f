#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/StringTable.h"
#include "thread/ZRefCount.h"

namespace tlk {

/// A list of text lines.
using LineList = std::list<std::string>;

/// The log of a process.
///
/// A record names a severity, a verbosity level (0 is the most important), a message number whose
/// format text is looked up in a module's string table, the caller's source name and line, and the
/// values for the format's placeholders. It becomes one line,
///
///     11/16/2026 01:12:28.123  (2044) N Disconnect requested. (Tlkc - 68)
///
/// with local time, thread number, severity mark ("N " normal, "W " warning, "E " error), message
/// and source. A record whose level is above the threshold is dropped without a trace. A message
/// that spans several lines, or is longer than 8,192 bytes (it is then cut), is still one record.
///
/// Any thread may call any operation. The record operations do not throw: a record for which there
/// is no memory is lost. A process that forks has the log in the child as well. They take a
/// variable number of values, which must fit the format text of the string table, as with printf;
/// where the table has no such number the record reads "Unknown message".
class TLKC2_API iLogger : public ZRefCountedWithFinalization {
 public:
  /// The folder in which the log files lie; empty (the default) for the current one.
  /// @{
  [[nodiscard]] virtual std::string GetDirectory() const = 0;
  virtual void SetDirectory(const std::string& directory) = 0;
  /// @}

  /// How many bytes may be queued before producers are held back; 512,000 by default.
  /// @{
  virtual void SetMaxQueueSize(std::int32_t bytes) = 0;
  [[nodiscard]] virtual std::int32_t GetMaxQueueSize() const = 0;
  /// @}

  /// The verbosity threshold: the highest level that is still written.
  /// @{
  virtual void SetLevel(const std::int32_t& level) = 0;
  [[nodiscard]] virtual std::int32_t GetLevel() const = 0;
  /// @}

  /// Whether each written line is shown on standard output as well; on by default.
  virtual void SetConsoleEcho(bool echo) = 0;

  /// Size in bytes past which the file is rotated (2,097,152 by default), and how many files are
  /// kept with the current one (10 by default).
  virtual void SetRotation(const std::int32_t& maxFileSize, const std::int32_t& fileCount) = 0;

  /// A normal record, its text taken from the string table of `module`.
  virtual void LogNormal(ModuleHandle module, std::int32_t level, std::uint32_t message,
                         const char* source, std::int32_t line, ...) = 0;
  /// A normal record, its text taken from the string table of the main program.
  virtual void LogNormal(std::int32_t level, std::uint32_t message, const char* source,
                         std::int32_t line, ...) = 0;
  /// Records of something that is not as it should be, or that failed; otherwise like normal ones.
  /// @{
  virtual void LogWarning(ModuleHandle module, std::int32_t level, std::uint32_t message,
                          const char* source, std::int32_t line, ...) = 0;
  virtual void LogWarning(std::int32_t level, std::uint32_t message, const char* source,
                          std::int32_t line, ...) = 0;
  virtual void LogError(ModuleHandle module, std::int32_t level, std::uint32_t message,
                        const char* source, std::int32_t line, ...) = 0;
  virtual void LogError(std::int32_t level, std::uint32_t message, const char* source,
                        std::int32_t line, ...) = 0;
  /// @}

  /// Stamps a finished record text with time and thread and queues it.
  virtual void Write(std::string_view record) = 0;

  /// Blocks until everything queued is written, without a limit. Where the file cannot be opened, a
  /// line is lost, and only another one that is queued makes the writer try the next: until there
  /// have been enough of them, this blocks. Returns 0, or the number of the wait that failed. The
  /// queue is one for all logs of the process: lines that the writer of another log has taken may
  /// still be on their way then.
  virtual std::uint32_t Flush() = 0;

  /// Appends the lines of the process-wide line list to `lines`.
  virtual void CopyLineList(LineList& lines) = 0;
  /// Replaces `lines` by the process-wide line list.
  virtual void GetLineList(LineList& lines) = 0;

  /// Adds the error and warning lines of a finished log file to `lines`, line ends turned into
  /// blanks. File 0 is "quillon.log", file n "quillonN.log", in the log's folder, whatever the name
  /// of this log. Returns `kScanDone`, or `kScanNotOpened`, also for what is no regular file.
  /// Nobody who logs waits for the disk meanwhile.
  virtual std::int32_t ScanLog(const std::int32_t& file, LineList& lines) = 0;

  /// What `ScanLog` returns.
  /// @{
  static constexpr std::int32_t kScanDone = 1;
  static constexpr std::int32_t kScanNotOpened = 89;
  /// @}
};

}  // namespace tlk
