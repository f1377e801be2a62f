#include "platform/posix/PosixFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR;

/// Looks at a file, or at a link itself. It does not ask for the times: that would make the next
/// write to the file twice as slow.
bool Look(int folderOrFile, const char* path, int flags, struct statx& status) {
  constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_UID | STATX_SIZE;
  return statx(folderOrFile, path, flags, kWanted, &status) == 0;
}

/// What others have put into a folder that they share may be there to read along, or to have the
/// log written into a file of this user's: they may give one of his files, or links, another name.
bool IsTrusted(const struct statx& status) {
  return (status.stx_uid == geteuid() || status.stx_uid == 0) && status.stx_nlink <= 1;
}

/// Follows a link in the log's place only when it is to be trusted.
OwnedDescriptor OpenLog(const char* path, int flags) {
  OwnedDescriptor file(open(path, flags | O_NOFOLLOW, kNewFileMode));
  if (file.IsOpen() || errno != ELOOP) return file;
  struct statx link {};
  if (!Look(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, link) || !IsTrusted(link)) return file;
  return OwnedDescriptor(open(path, flags, kNewFileMode));
}

bool MayBeWritten(const struct statx& status) {
  return S_ISREG(status.stx_mode) ? IsTrusted(status) : S_ISCHR(status.stx_mode);
}

/// On a file system that knows no such rights this fails, and the log goes on without.
void KeepToOwner(int descriptor, const struct statx& status) {
  const bool isOpenToOthers = (status.stx_mode & (S_IRWXG | S_IRWXO)) != 0;
  if (!isOpenToOthers || !S_ISREG(status.stx_mode) || status.stx_uid != geteuid()) return;
  [[maybe_unused]] const int result = fchmod(descriptor, kNewFileMode);
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
  sigtimedwait(&signal, nullptr, &kAtOnce);
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

/// For file systems that cannot rename without overwriting by themselves. A second name for a
/// moment would close that gap, but whoever appends in that moment would not trust the file.
bool RenameToFree(const char* from, const char* to) {
  struct stat status {};
  return lstat(to, &status) != 0 && errno == ENOENT && std::rename(from, to) == 0;
}

}  // namespace

std::int64_t PosixFiles::AppendLine(const std::string& path, std::string_view line) {
  const OwnedDescriptor file = OpenLog(path.c_str(), kFlags | O_CREAT);
  struct statx status {};
  if (!file.IsOpen() || !Look(file.Get(), "", AT_EMPTY_PATH, status) || !MayBeWritten(status))
    return append_result::kNotOpened;
  KeepToOwner(file.Get(), status);
  BlockFileSizeSignal();
  const size_t written = WriteLine(file.Get(), line);
  if (written <= line.size()) {
    TakeFileSizeSignal();
    if (written > 0) TakeBack(file.Get(), written);
    return append_result::kNotWritten;
  }
  return S_ISREG(status.stx_mode) ? static_cast<std::int64_t>(status.stx_size + written) : 0;
}

// The file's own lock, which goes with the descriptor: it holds between users as well, and leaves
// nothing behind. Nobody waits for it: whoever has it may hang, and when he lets go the file has
// been moved. On a file system without locks, the file is rotated without one.
bool PosixFiles::RotateAlone(const std::string& path, std::int64_t size,
                             const std::function<bool()>& rotate) {
  const OwnedDescriptor file = OpenLog(path.c_str(), kFlags);
  if (!file.IsOpen()) return errno == ENOENT;
  if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return true;
  struct stat held {};
  struct stat named {};
  const bool isThere = fstat(file.Get(), &held) == 0 && stat(path.c_str(), &named) == 0 &&
                       held.st_dev == named.st_dev && held.st_ino == named.st_ino;
  const bool isDone = !isThere || held.st_size <= size || rotate();
  // A child that was forked meanwhile has the descriptor as well, and would keep the lock with it.
  flock(file.Get(), LOCK_UN);
  return isDone;
}

bool PosixFiles::Read(const std::string& path, const std::function<void(std::string_view)>& take) {
  const OwnedDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status {};
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  std::array<char, 16384> piece;
  for (;;) {
    const ssize_t count = read(file.Get(), piece.data(), piece.size());
    if (count == -1 && errno == EINTR) continue;
    if (count <= 0) return true;
    take({piece.data(), static_cast<size_t>(count)});
  }
}

bool PosixFiles::VisitFolder(const std::string& path,
                             const std::function<void(std::string_view)>& visit) {
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.empty() ? "." : folder.c_str()),
                                                    closedir);
  if (listing == nullptr) return false;
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(listing.get());
    if (entry == nullptr) return errno == 0;
    visit(folder + entry->d_name);
  }
}

bool PosixFiles::Remove(const std::string& path) { return unlink(path.c_str()) == 0; }

bool PosixFiles::Rename(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  const bool isUnsupported = errno == EINVAL || errno == ENOSYS;
  return isUnsupported && RenameToFree(from.c_str(), to.c_str());
}

}  // namespace tlk
