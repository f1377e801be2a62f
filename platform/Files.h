#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tlk {

/// Result of `Files::AppendLine` when nothing was written.
namespace append_result {
inline constexpr std::int64_t kNotOpened = -1;
inline constexpr std::int64_t kNotWritten = -2;
}  // namespace append_result

/// The file calls of a log. Paths are in the system's ANSI code page. Safe to call from any thread.
class Files {
 public:
  virtual ~Files() = default;

  /// Opens the file for appending, making it if need be, writes the line and the system's line end,
  /// closes it, and returns the size that it then has. Fails with `kNotOpened` when it cannot be
  /// opened and with `kNotWritten` when the line cannot be written whole (a full disk).
  [[nodiscard]] virtual std::int64_t AppendLine(const std::string& path, std::string_view line) = 0;

  /// Calls `rotate`, which moves the file away and tells whether it did, if it is larger than
  /// `size`. When several processes ask at the same time, one of them does it, and the others
  /// return at once. False when the file should have been moved and was not, unless another process
  /// is just at it. This default is for files that no other process has: it always calls `rotate`.
  virtual bool RotateAlone(const std::string& /*path*/, std::int64_t /*size*/,
                           const std::function<bool()>& rotate) {
    return rotate();
  }

  /// Reads a file to its end and gives it to `take` in pieces of any size, as they are. Others may
  /// append to it, rename it and delete it meanwhile. False when there is no such file, when it
  /// cannot be opened, and when it is no regular one; a fault of the disk is like the file's end.
  virtual bool Read(const std::string& path, const std::function<void(std::string_view)>& take) = 0;

  /// Calls `visit` with the path of each file in the folder that `path` is in, written like that
  /// path, in any order; paths of other things may be among them. False when not all can be told.
  virtual bool VisitFolder(const std::string& path,
                           const std::function<void(std::string_view)>& visit) = 0;

  /// Deletes a file; false when there is none or it cannot be deleted.
  virtual bool Remove(const std::string& path) = 0;

  /// Renames a file; false when it does not exist, or the new name does, or it cannot be done.
  virtual bool Rename(const std::string& from, const std::string& to) = 0;
};

}  // namespace tlk
