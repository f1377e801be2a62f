#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tlk::log {

/// What tells a file from all others, whatever it is called, as long as it is open.
struct FileId {
  std::uint64_t device = 0;
  std::uint64_t number = 0;

  bool operator==(const FileId&) const = default;
};

/// A log that is open to be read, while others append to it, rename it and delete it.
class LogFile {
 public:
  virtual ~LogFile() = default;

  /// Opens a file. Null when that cannot be, with what forbids it in `failure`; so with what is no
  /// regular file.
  [[nodiscard]] static std::unique_ptr<LogFile> Open(const std::string& path, std::string& failure);

  [[nodiscard]] virtual FileId Id() const = 0;

  [[nodiscard]] virtual std::uint64_t Size() const = 0;

  /// Reads what the file has from `offset` on and returns how much that is: 0 at its end, and when
  /// the system refuses.
  [[nodiscard]] virtual std::size_t ReadAt(std::uint64_t offset, std::span<char> room) const = 0;
};

}  // namespace tlk::log
