#include "tools/tlk/InputFile.h"

#include <cerrno>
#include <cstring>

namespace tlk {

// Some systems open a folder like a file; only the attempt to read it then fails.
std::string OpenToRead(const std::string& path, std::ifstream& file) {
  file.open(path, std::ios::binary);
  if (!file.is_open() || (file.peek(), file.bad())) return SystemFailure();
  file.clear();
  return {};
}

std::string SystemFailure() { return std::strerror(errno); }

bool ReadPiece(std::istream& input, std::string& bytes) {
  constexpr std::size_t kReadSize = 65536;
  const std::size_t size = bytes.size();
  bytes.resize(size + kReadSize);
  input.read(bytes.data() + size, kReadSize);
  bytes.resize(size + static_cast<std::size_t>(input.gcount()));
  return bytes.size() > size;
}

}  // namespace tlk
