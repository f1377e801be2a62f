#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>
#include <string>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR;

/// The size that the calling thread's last line has left a regular file with; -1 for none.
thread_local off_t t_lastSize = -1;

/// What others have put into a folder that they share may be there to read along, or to have the
/// log written into a file of this user's.
bool IsTrusted(const struct stat& status) {
  return status.st_uid == geteuid() || status.st_uid == 0;
}

/// Follows a link in the log's place only when it is to be trusted.
OwnedDescriptor OpenLog(const char* path, int flags) {
  OwnedDescriptor file(open(path, flags | O_NOFOLLOW, kNewFileMode));
  struct stat link {};
  const bool isRefusedLink = !file.IsOpen() && errno == ELOOP;
  if (!isRefusedLink || lstat(path, &link) != 0 || !IsTrusted(link)) return file;
  return OwnedDescriptor(open(path, flags, kNewFileMode));
}

enum class Place { kFile, kDevice, kNeither };

/// What is open. A file that has still the size of the last one is taken for that one: whatever
/// else has a size is asked about, and a pipe has none.
Place PlaceOf(int descriptor, off_t size) {
  if (size >= 0 && size == t_lastSize) return Place::kFile;
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return Place::kNeither;
  if (S_ISREG(status.st_mode)) return IsTrusted(status) ? Place::kFile : Place::kNeither;
  return S_ISCHR(status.st_mode) ? Place::kDevice : Place::kNeither;
}

sigset_t FileSizeSignal() {
  sigset_t signal;
  sigemptyset(&signal);
  sigaddset(&signal, SIGXFSZ);
  return signal;
}

/// Keeps the signal that goes with a limit on file sizes from ending the process. It stays blocked
/// in the calling thread, because who appends one line will append more.
void BlockFileSizeSignal() {
  thread_local bool t_isBlocked = false;
  if (t_isBlocked) return;
  const sigset_t signal = FileSizeSignal();
  t_isBlocked = pthread_sigmask(SIG_BLOCK, &signal, nullptr) == 0;
}

/// Takes the signal that a failed write may have left.
void TakeFileSizeSignal() {
  const sigset_t signal = FileSizeSignal();
  constexpr timespec kAtOnce{};
  while (sigtimedwait(&signal, nullptr, &kAtOnce) == -1 && errno == EINTR) {
  }
}

/// Returns how many bytes went out.
size_t Write(int descriptor, std::string_view text) {
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
    if (count == -1 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<size_t>(count);
  }
  return written;
}

/// Writes `line` and a line end; returns how many bytes went out. They go out in one piece, because
/// two are slower than their copy, and others may write to the file as well.
size_t WriteLine(int descriptor, std::string_view line) try {
  std::array<char, 1024> usual;
  if (line.size() < usual.size()) {
    usual[line.copy(usual.data(), usual.size())] = '\n';
    return Write(descriptor, {usual.data(), line.size() + 1});
  }
  return Write(descriptor, std::string(line) + '\n');
} catch (const std::bad_alloc&) {
  return 0;
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
  const OwnedDescriptor file = OpenLog(path.c_str(), kFlags | O_CREAT);
  if (!file.IsOpen()) return append_result::kNotOpened;
  const off_t size = lseek(file.Get(), 0, SEEK_END);
  const Place place = PlaceOf(file.Get(), size);
  if (place == Place::kNeither) return append_result::kNotOpened;
  BlockFileSizeSignal();
  const size_t written = WriteLine(file.Get(), line);
  if (written <= line.size()) {
    TakeFileSizeSignal();
    if (written > 0) TakeBack(file.Get(), written);
    return append_result::kNotWritten;
  }
  if (place == Place::kDevice) return 0;
  return t_lastSize = size + static_cast<off_t>(written);
}

// The file's own lock, which goes with the descriptor: it holds between users as well, and leaves
// nothing behind. Whoever waited for it would find the file gone, and might wait for ever. A file
// system without locks rotates without.
void PosixFiles::RotateAlone(const std::string& path, std::int64_t size,
                             const std::function<void()>& rotate) {
  const OwnedDescriptor file = OpenLog(path.c_str(), kFlags);
  if (!file.IsOpen() || (flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)) return;
  struct stat held {};
  struct stat named {};
  const bool isThere = fstat(file.Get(), &held) == 0 && stat(path.c_str(), &named) == 0 &&
                       held.st_dev == named.st_dev && held.st_ino == named.st_ino;
  if (isThere && held.st_size > size) rotate();
}

bool PosixFiles::Remove(const std::string& path) { return unlink(path.c_str()) == 0; }

bool PosixFiles::Rename(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  const bool isUnsupported = errno == EINVAL || errno == ENOSYS;
  return isUnsupported && RenameByLink(from.c_str(), to.c_str());
}

}  // namespace tlk
