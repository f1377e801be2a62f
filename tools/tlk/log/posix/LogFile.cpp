#include "tools/tlk/log/LogFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/posix/OwnedDescriptor.h"
#include "tools/tlk/InputFile.h"

namespace tlk::log {
namespace {

class PosixLogFile final : public LogFile {
 public:
  PosixLogFile(OwnedDescriptor file, FileId id) : m_file(std::move(file)), m_id(id) {}

  FileId Id() const override { return m_id; }

  std::uint64_t Size() const override {
    struct stat status {};
    return fstat(m_file.Get(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<char> room) const override {
    for (;;) {
      const ssize_t count =
          pread(m_file.Get(), room.data(), room.size(), static_cast<off_t>(offset));
      if (count == -1 && errno == EINTR) continue;
      return count > 0 ? static_cast<std::size_t>(count) : 0;
    }
  }

 private:
  const OwnedDescriptor m_file;
  const FileId m_id;
};

}  // namespace

std::unique_ptr<LogFile> LogFile::Open(const std::string& path, std::string& failure) {
  OwnedDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
    failure = SystemFailure();
    return nullptr;
  }
  if (!S_ISREG(status.st_mode)) {
    failure = "not a regular file";
    return nullptr;
  }
  return std::make_unique<PosixLogFile>(std::move(file), FileId{status.st_dev, status.st_ino});
}

}  // namespace tlk::log
