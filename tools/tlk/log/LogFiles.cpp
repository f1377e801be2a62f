#include "tools/tlk/log/LogFiles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <string_view>
#include <utility>

#include "platform/Platform.h"
#include "platform/Surroundings.h"

namespace tlk::log {
namespace {

constexpr std::string_view kLogName = "TLK_Client.log";
constexpr std::string_view kExtension = ".log";

// A generation may be missing, for good or for the moment in which it is moved; behind so many that
// are there are no more.
constexpr int kMostMissing = 10;

/// What comes before the number and the extension, and the number; 0 without one.
std::pair<std::string, int> TakeApart(std::string_view path) {
  if (path.ends_with(kExtension)) path.remove_suffix(kExtension.size());
  const std::size_t stem = path.find_last_not_of("0123456789") + 1;
  int generation = 0;
  std::from_chars(path.data() + stem, path.data() + path.size(), generation);
  return {std::string(path.substr(0, stem)), generation};
}

bool IsAmong(const std::vector<std::unique_ptr<LogFile>>& files, const FileId& id) {
  return std::ranges::any_of(files, [&](const auto& file) { return file->Id() == id; });
}

}  // namespace

Generations::Generations(std::string current) : m_current(std::move(current)) {}

std::unique_ptr<LogFile> Generations::OpenCurrent() const {
  std::string failure;
  return LogFile::Open(m_current, failure);
}

// From the newest on: a file that is moved meanwhile is met again, and known.
std::vector<std::unique_ptr<LogFile>> Generations::OpenNewer(std::optional<FileId> known,
                                                             bool& isFound) const {
  std::vector<std::unique_ptr<LogFile>> files;
  isFound = false;
  int missing = 0;
  for (int generation = 0; missing < kMostMissing; ++generation) {
    std::string failure;
    auto file = LogFile::Open(Path(generation), failure);
    missing = file ? 0 : missing + 1;
    if (!file || IsAmong(files, file->Id())) continue;
    isFound = known && file->Id() == *known;
    if (isFound) break;
    files.push_back(std::move(file));
  }
  std::ranges::reverse(files);
  return files;
}

std::string Generations::Path(int generation) const {
  if (generation == 0) return m_current;
  std::string_view stem = m_current;
  const bool hasExtension = stem.ends_with(kExtension);
  if (hasExtension) stem.remove_suffix(kExtension.size());
  return std::string(stem) + std::to_string(generation) + std::string(kExtension);
}

std::string DefaultFolder() {
  const Surroundings& surroundings = SystemPlatform().surroundings;
  std::array<char, 4096> folder{};
  const auto length = surroundings.TemporaryFolder(folder);
  if (length == 0 || length >= folder.size()) return surroundings.FallbackFolder();
  return folder.data();
}

std::string LogIn(const std::string& folder) {
  const char separator = SystemPlatform().surroundings.PathSeparator();
  const bool isEnded = folder.ends_with('/') || folder.ends_with(separator);
  return folder + (isEnded ? "" : std::string(1, separator)) + std::string(kLogName);
}

void SortByGeneration(std::vector<std::string>& paths) {
  std::map<std::string, std::size_t> logs;  // By their stems: where the first of each stands.
  for (const std::string& path : paths) logs.emplace(TakeApart(path).first, logs.size());
  std::ranges::stable_sort(paths, [&](const std::string& one, const std::string& other) {
    const auto [oneStem, oneGeneration] = TakeApart(one);
    const auto [otherStem, otherGeneration] = TakeApart(other);
    const std::size_t oneLog = logs.at(oneStem);
    const std::size_t otherLog = logs.at(otherStem);
    return oneLog != otherLog ? oneLog < otherLog : oneGeneration > otherGeneration;
  });
}

}  // namespace tlk::log
