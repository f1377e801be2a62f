#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/soak/SoakClient.h"

namespace tlk::soak {

/// What the records of a trace log say.
struct TraceLogTally {
  int connected = 0;
  int heard = 0;
  int resets = 0;

  /// Counts the records of a file; each must be whole, and no error but a reset.
  void Add(const std::filesystem::path& path) {
    std::ifstream file(path);
    bool isWhole = true;
    for (std::string line; std::getline(file, line); isWhole = EndsRecord(line)) {
      const bool isStart = line.find(") ") < kMarkEnd || line.starts_with("-----");
      Check(isStart == isWhole, ("a record is not whole at " + line).c_str());
      const auto says = [&](const char* text) { return line.find(text) != line.npos; };
      connected += says(") N Status changed. Connected.");
      heard += says(") N Message Recieved. ");
      const bool isReset = says(") E Connection was reset.");
      resets += isReset;
      Check(isReset || line.find(") E ") > kMarkEnd, line.c_str());
    }
    Check(isWhole, "the last record is not whole");
  }

 private:
  static constexpr std::size_t kMarkEnd = 50;

  static bool EndsRecord(const std::string& line) {
    const auto source = line.rfind(" (Tlkc - ");
    return line.starts_with("-----") ||
           (source != line.npos && line.find(')', source) == line.size() - 1);
  }
};

}  // namespace tlk::soak
