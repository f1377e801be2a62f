#include "log/LogRotation.h"

#include <charconv>
#include <functional>
#include <set>
#include <system_error>

#include "platform/Files.h"

namespace tlk {

namespace {

constexpr std::string_view kExtension = ".log";

// So many files are asked for one by one; of which there are of more, the folder is asked.
constexpr std::int32_t kFewFiles = 100;

// Of generations that come into being by a rotation, the oldest first.
using Generations = std::set<std::int32_t, std::greater<>>;

std::string_view Stem(std::string_view fileName) { return fileName.substr(0, fileName.rfind('.')); }

// Generation 0 is the current file.
std::string GenerationPath(const LogPlace& place, std::int32_t generation) {
  std::string name(Stem(place.fileName));
  if (generation > 0) name += std::to_string(generation);
  name += kExtension;
  std::string path;
  PathInPlace(place, name, path);
  return path;
}

// The generation of a file at that path, -1 for none; the stem's path is as long as that. Letters
// are not compared, since not every system tells their cases apart, and a step too many does no
// harm.
std::int32_t GenerationOf(std::string_view path, std::size_t stem) {
  if (path.size() < stem + kExtension.size()) return -1;
  const std::string_view number = path.substr(stem, path.size() - stem - kExtension.size());
  if (number.empty()) return 0;
  std::int32_t generation = -1;
  const char* const end = number.data() + number.size();
  const auto [stop, error] = std::from_chars(number.data(), end, generation);
  return stop == end && error == std::errc() ? generation : -1;
}

// Finds the generations of which a file is deleted or renamed; false when nobody can tell.
bool FindSteps(Files& files, const LogPlace& place, std::int32_t fileCount, Generations& steps) {
  const std::string current = GenerationPath(place, 0);
  const std::size_t stem = current.size() - kExtension.size();
  return files.VisitFolder(current, [&](std::string_view path) {
    const std::int32_t generation = GenerationOf(path, stem);
    if (generation < 0 || generation >= fileCount) return;
    if (generation > 0) steps.insert(generation);
    if (generation < fileCount - 1) steps.insert(generation + 1);
  });
}

// Makes room for a generation by deleting what is there, and moves the one before it there.
bool MoveTo(Files& files, const LogPlace& place, std::int32_t generation) {
  const std::string target = GenerationPath(place, generation);
  files.Remove(target);
  return files.Rename(GenerationPath(place, generation - 1), target);
}

}  // namespace

void PathInPlace(const LogPlace& place, std::string_view name, std::string& path) {
  path = place.directory;
  if (!path.empty()) path += place.separator;
  path += name;
}

bool RotateFiles(Files& files, const LogPlace& place, std::int32_t fileCount) {
  Generations steps;
  bool isMoved = true;
  if (fileCount > kFewFiles && FindSteps(files, place, fileCount, steps)) {
    for (const std::int32_t generation : steps) isMoved = MoveTo(files, place, generation);
  } else {
    for (std::int32_t left = fileCount; left > 1; --left) isMoved = MoveTo(files, place, left - 1);
  }
  return isMoved || !place.fileName.ends_with(kExtension);
}

}  // namespace tlk
