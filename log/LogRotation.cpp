#include "log/LogRotation.h"

#include <charconv>
#include <functional>
#include <set>

#include "platform/Files.h"

namespace tlk {

namespace {

constexpr std::string_view kExtension = ".log";

// With no more files than this to keep, each step is tried whether there is a file for it or not;
// with more, the folder is searched first for the files that are there.
constexpr std::int32_t kFewFiles = 100;

// The steps of a rotation, the oldest first: each is the generation that a file is moved to.
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

// The generation of the file at that path, -1 for none; `stem` is how long the path is in front of
// the number. What stands around the number is not compared, since some systems take "A1.LOG" for
// "a1.log". A file of another log may so cost a step that finds nothing to move.
std::int32_t GenerationOf(std::string_view path, std::size_t stem) {
  if (path.size() < stem + kExtension.size()) return -1;
  const std::string_view number = path.substr(stem, path.size() - stem - kExtension.size());
  if (number.empty()) return 0;
  std::int32_t generation = -1;
  const char* const end = number.data() + number.size();
  // A number that is too large leaves the generation as it is.
  return std::from_chars(number.data(), end, generation).ptr == end ? generation : -1;
}

// Finds the steps for which there is a file to move or to delete; false when the folder cannot be
// read.
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
