#pragma once

#include "platform/Files.h"

namespace tlk {

/// File calls of Windows. A log is written in text mode: every line feed, inside the line too,
/// becomes carriage return and line feed. Other processes may read, append, rename and delete a
/// log at any time.
class WindowsFiles final : public Files {
 public:
  /// Part of a line that could not be written whole is taken back, unless another process has
  /// appended behind it meanwhile.
  [[nodiscard]] std::int64_t AppendLine(const std::string& path, std::string_view line) override;

  /// Leaves a file for later that another program has open so that it cannot be moved.
  bool RotateAlone(const std::string& path, std::int64_t size,
                   const std::function<bool()>& rotate) override;
  bool Read(const std::string& path, const std::function<void(std::string_view)>& take) override;
  bool VisitFolder(const std::string& path,
                   const std::function<void(std::string_view)>& visit) override;
  bool Remove(const std::string& path) override;
  bool Rename(const std::string& from, const std::string& to) override;
};

}  // namespace tlk
