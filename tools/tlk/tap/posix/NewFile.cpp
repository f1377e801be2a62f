#include "tools/tlk/tap/NewFile.h"

#include <fcntl.h>
#include <unistd.h>

namespace tlk::tap {

OpenFile MakeNewFile(const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file == -1) return nullptr;
  OpenFile opened(::fdopen(file, "w"));
  if (opened == nullptr) ::close(file);
  return opened;
}

}  // namespace tlk::tap
