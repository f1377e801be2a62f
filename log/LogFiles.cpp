#include "log/LogFiles.h"

#include "platform/Files.h"

namespace tlk {

namespace {

std::string_view Stem(std::string_view fileName) { return fileName.substr(0, fileName.rfind('.')); }

// Generation 0 is the current file.
std::string GenerationPath(const LogPlace& place, std::int32_t generation) {
  std::string name(Stem(place.fileName));
  if (generation > 0) name += std::to_string(generation);
  name += ".log";
  std::string path;
  PathInPlace(place, name, path);
  return path;
}

}  // namespace

void PathInPlace(const LogPlace& place, std::string_view name, std::string& path) {
  path = place.directory;
  if (!path.empty()) path += place.separator;
  path += name;
}

void RotateFiles(Files& files, const LogPlace& place, std::int32_t fileCount) {
  for (std::int32_t generation = fileCount - 1; generation >= 1; --generation) {
    const std::string target = GenerationPath(place, generation);
    files.Remove(target);
    files.Rename(GenerationPath(place, generation - 1), target);
  }
}

}  // namespace tlk
