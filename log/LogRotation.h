#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tlk {

class Files;

/// Where a log lies.
struct LogPlace {
  std::string directory;  ///< Empty for the current folder.
  std::string fileName;
  char separator = '/';
};

/// Replaces `path` by the path of a file in the place's folder. A folder that ends with a separator
/// gets a second one, as it always did.
void PathInPlace(const LogPlace& place, std::string_view name, std::string& path);

/// Moves the current file to generation 1, generation 1 to 2 and so on; of `fileCount` files, the
/// current one included, the oldest is deleted. The current file is taken to be the name's stem
/// with ".log", so one with another extension stays. A step that fails does not keep the others
/// from being tried. False when the current file should have moved and is still there.
bool RotateFiles(Files& files, const LogPlace& place, std::int32_t fileCount);

}  // namespace tlk
