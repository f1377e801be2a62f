#include "tools/tlk/tap/NewFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace tlk::tap {

OpenFile MakeNewFile(const std::string& path) {
  const int file = _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                         _S_IREAD | _S_IWRITE);
  if (file == -1) return nullptr;
  OpenFile opened(_fdopen(file, "wb"));
  if (opened == nullptr) _close(file);
  return opened;
}

}  // namespace tlk::tap
