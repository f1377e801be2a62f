#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

constexpr int kAppendFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

/// Keeps the signal that goes with a limit on file sizes from ending the process while a line is
/// written. Where no limit is set, which is nearly everywhere, nothing needs to be done.
class FileSizeSignalGuard {
 public:
  FileSizeSignalGuard() {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY) return;
    sigemptyset(&m_signal);
    sigaddset(&m_signal, SIGXFSZ);
    m_isActive = pthread_sigmask(SIG_BLOCK, &m_signal, &m_before) == 0 &&
                 sigismember(&m_before, SIGXFSZ) == 0;
  }

  ~FileSizeSignalGuard() {
    if (!m_isActive) return;
    constexpr timespec kAtOnce{};
    while (sigtimedwait(&m_signal, nullptr, &kAtOnce) == -1 && errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
  }

  FileSizeSignalGuard(const FileSizeSignalGuard&) = delete;
  FileSizeSignalGuard& operator=(const FileSizeSignalGuard&) = delete;

 private:
  bool m_isActive = false;
  sigset_t m_signal{};
  sigset_t m_before{};
};

bool IsLogFile(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISCHR(status.st_mode);
}

/// Writes `line` and a line end; returns how many bytes went out.
size_t WriteLine(int descriptor, std::string_view line) {
  char lineEnd = '\n';
  const size_t total = line.size() + 1;
  size_t written = 0;
  while (written < total) {
    const std::string_view rest = line.substr(std::min(written, line.size()));
    const std::array<iovec, 2> parts{
        {{const_cast<char*>(rest.data()), rest.size()}, {&lineEnd, 1}}};
    const ssize_t count = writev(descriptor, parts.data(), static_cast<int>(parts.size()));
    if (count == -1 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<size_t>(count);
  }
  return written;
}

/// Cuts off the `written` bytes that this descriptor wrote last, if they are the file's last.
void TakeBack(int descriptor, size_t written) {
  struct stat status {};
  const off_t position = lseek(descriptor, 0, SEEK_CUR);
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size != position)
    return;
  // When this fails the torn line stays; it is reported as not written all the same.
  [[maybe_unused]] const int result = ftruncate(descriptor, position - static_cast<off_t>(written));
}

/// For file systems that cannot rename without overwriting by themselves.
bool RenameByLink(const char* from, const char* to) {
  if (link(from, to) == 0) return unlink(from) == 0;
  if (errno == EEXIST || errno == ENOENT) return false;
  struct stat status {};
  return lstat(to, &status) != 0 && errno == ENOENT && std::rename(from, to) == 0;
}

}  // namespace

std::int64_t PosixFiles::AppendLine(const std::string& path, std::string_view line) {
  const OwnedDescriptor file(open(path.c_str(), kAppendFlags, kNewFileMode));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !IsLogFile(status))
    return append_result::kNotOpened;
  const FileSizeSignalGuard guard;
  const size_t written = WriteLine(file.Get(), line);
  if (written <= line.size()) {
    if (written > 0) TakeBack(file.Get(), written);
    return append_result::kNotWritten;
  }
  const off_t size = lseek(file.Get(), 0, SEEK_CUR);
  return size < 0 ? 0 : size;
}

bool PosixFiles::Remove(const std::string& path) { return unlink(path.c_str()) == 0; }

bool PosixFiles::Rename(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  const bool isUnsupported = errno == EINVAL || errno == ENOSYS;
  return isUnsupported && RenameByLink(from.c_str(), to.c_str());
}

}  // namespace tlk
