#include "log/LogScan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>

namespace tlk {

namespace {

constexpr std::size_t kLineBuffer = 8192;
constexpr std::ptrdiff_t kMarkWithin = 50;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The thread number in parentheses stands directly before the mark, near the start of the line.
bool HasMark(const char* line, const char* mark) {
  const char* found = std::strstr(line, mark);
  return found != nullptr && found - line < kMarkWithin;
}

}  // namespace

std::int32_t ScanLogFile(const std::string& path, LineList& lines) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) return iLogger::kScanNotOpened;
  std::array<char, kLineBuffer> buffer;
  while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), file.get()) != nullptr) {
    char* const line = buffer.data();
    std::replace_if(
        line, line + std::strlen(line), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    if (HasMark(line, ") E ") || HasMark(line, ") W ")) lines.emplace_back(line);
  }
  return iLogger::kScanDone;
}

}  // namespace tlk
