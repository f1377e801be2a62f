#pragma once

#include "platform/Files.h"

namespace tlk {

/// File calls of a POSIX system. Nothing here blocks on a strange file or raises a signal: a log
/// path that leads to something else than a regular file or a character device is not opened, nor
/// is a file or a link in the log's place that belongs to another user than this one and root, or
/// that has a second name (a hard link).
class PosixFiles final : public Files {
 public:
  /// The file is for its user alone: a new one is made so (mode 0600), one of his that others have
  /// rights to is set so, where its file system knows rights. Part of a line that could not be
  /// written whole is taken back, unless another process has appended behind it meanwhile. A line
  /// that another process appends in the same moment may not be in the size.
  ///
  /// The signal of the limit on file sizes (SIGXFSZ) stays blocked in the calling thread.
  [[nodiscard]] std::int64_t AppendLine(const std::string& path, std::string_view line) override;

  bool RotateAlone(const std::string& path, std::int64_t size,
                   const std::function<bool()>& rotate) override;

  /// Follows links, and reads whosever file it is that may be read.
  bool Read(const std::string& path, const std::function<void(std::string_view)>& take) override;
  bool VisitFolder(const std::string& path,
                   const std::function<void(std::string_view)>& visit) override;
  bool Remove(const std::string& path) override;
  bool Rename(const std::string& from, const std::string& to) override;
};

}  // namespace tlk
