#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "log/LogRotation.h"
#include "tools/tlk/log/LogFile.h"

namespace tlk::log {

/// The files of a rotating log: the current one and the older ones, its generations.
class Generations {
 public:
  /// `current` is the path of the current file.
  explicit Generations(std::string current);

  /// The current file, or null.
  [[nodiscard]] std::unique_ptr<LogFile> OpenCurrent() const;

  /// Opens the files that are newer than the one of that name, the oldest first; all when there is
  /// none of it, or `known` is nothing. They may be rotated meanwhile: none is missed for that, and
  /// none is there twice.
  ///
  /// `isFound` becomes whether the known one was among them.
  [[nodiscard]] std::vector<std::unique_ptr<LogFile>> OpenNewer(std::optional<FileId> known,
                                                                bool& isFound) const;

 private:
  [[nodiscard]] std::string Path(int generation) const;

  const std::string m_current;
};

/// The folder in which this user's programs keep the log.
[[nodiscard]] std::string DefaultFolder();

/// The path of the log in that folder.
[[nodiscard]] std::string LogIn(const std::string& folder);

/// Puts files of one log into the order of time, the oldest first, by the numbers in their names.
/// Files of different names stay in the order of the first of each.
void SortByGeneration(std::vector<std::string>& paths);

}  // namespace tlk::log
