// Feeds a target with the files of its corpus, the folder that is its argument, where no fuzzer is
// at hand.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/Fuzzing.h"

int main(int /*argc*/, char** argv) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::fprintf(stderr, "%s\n", entry.path().filename().c_str());
    std::ifstream stream(entry.path(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    if (!stream) return 1;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++count;
  }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}
