#include "platform/posix/PosixNamedMutex.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Fork.h"
#include "platform/posix/OwnedDescriptor.h"
#include "platform/posix/ThreadContext.h"

namespace tlk {
namespace {

constexpr int kFileFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
constexpr std::string_view kFilePrefix = "mutex.";
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

bool Lock(const OwnedDescriptor& file, int operation) {
  while (flock(file.Get(), operation) != 0)
    if (errno != EINTR) return false;
  return true;
}

/// The user's folder of named mutexes. Nobody else may write to it.
OwnedDescriptor OpenFolder() {
  const std::string path = "/dev/shm/tlkc2-" + std::to_string(geteuid());
  if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) return {};
  OwnedDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
  struct stat status {};
  if (!folder.IsOpen() || fstat(folder.Get(), &status) != 0) return {};
  if (status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    errno = EACCES;
    return {};
  }
  return folder;
}

/// The lock under which names come into being and go.
OwnedDescriptor LockFolder(const OwnedDescriptor& folder) {
  OwnedDescriptor guard(openat(folder.Get(), "lock", kFileFlags | O_CREAT, kOwnerOnly));
  return guard.IsOpen() && Lock(guard, LOCK_EX) ? std::move(guard) : OwnedDescriptor();
}

/// A file name for a mutex name: what is neither letter nor digit is written as its number.
std::string FileNameOf(const char* name) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string fileName(kFilePrefix);
  for (const char* next = name; *next != '\0'; ++next) {
    const auto byte = static_cast<unsigned char>(*next);
    const bool isPlain =
        (byte >= '0' && byte <= '9') || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z');
    if (isPlain) {
      fileName += *next;
    } else {
      fileName += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return fileName;
}

/// Removes the files of names that nobody has open: those of processes that crashed, or ended
/// without closing them.
void RemoveLeftovers(const OwnedDescriptor& folder) {
  const int copy = fcntl(folder.Get(), F_DUPFD_CLOEXEC, 0);
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(copy < 0 ? nullptr : fdopendir(copy), closedir);
  if (listing == nullptr) {
    if (copy >= 0) close(copy);
    return;
  }
  rewinddir(listing.get());
  while (const dirent* entry = readdir(listing.get())) {
    if (!std::string_view(entry->d_name).starts_with(kFilePrefix)) continue;
    const OwnedDescriptor file(openat(folder.Get(), entry->d_name, kFileFlags));
    if (file.IsOpen() && Lock(file, LOCK_EX | LOCK_NB)) unlinkat(folder.Get(), entry->d_name, 0);
  }
}

class SharedHome final : public MutexHome {
 public:
  /// Null, with `errno` set, when the mutex does not exist or cannot be made.
  static std::unique_ptr<SharedHome> Open(std::string fileName, NamedMutexMode mode);

  ~SharedHome() override;
  SharedHome(const SharedHome&) = delete;
  SharedHome& operator=(const SharedHome&) = delete;

  [[nodiscard]] RobustMutex& Mutex() override { return *m_mutex; }

 private:
  SharedHome(OwnedDescriptor folder, OwnedDescriptor file, std::string fileName)
      : m_folder(std::move(folder)), m_file(std::move(file)), m_fileName(std::move(fileName)) {}

  [[nodiscard]] bool Create();
  [[nodiscard]] bool Join();
  [[nodiscard]] bool Map();
  void RemoveFile() const { unlinkat(m_folder.Get(), m_fileName.c_str(), 0); }

  const OwnedDescriptor m_folder;
  const OwnedDescriptor m_file;
  const std::string m_fileName;
  const pid_t m_process = getpid();
  RobustMutex* m_mutex = nullptr;
  bool m_isOpen = false;
};

std::unique_ptr<SharedHome> SharedHome::Open(std::string fileName, NamedMutexMode mode) {
  OwnedDescriptor folder = OpenFolder();
  if (!folder.IsOpen()) return nullptr;
  const OwnedDescriptor guard = LockFolder(folder);
  if (!guard.IsOpen()) return nullptr;
  const bool mayCreate = mode == NamedMutexMode::kOpenOrCreate;
  OwnedDescriptor file(
      openat(folder.Get(), fileName.c_str(), kFileFlags | (mayCreate ? O_CREAT : 0), kOwnerOnly));
  if (!file.IsOpen()) return nullptr;
  const bool isUnused = Lock(file, LOCK_EX | LOCK_NB);
  std::unique_ptr<SharedHome> home(
      new SharedHome(std::move(folder), std::move(file), std::move(fileName)));
  if (isUnused && !mayCreate) {
    home->RemoveFile();
    errno = ENOENT;
    return nullptr;
  }
  home->m_isOpen = isUnused ? home->Create() : home->Join();
  if (!home->m_isOpen) home.reset();
  return home;
}

bool SharedHome::Create() {
  RemoveLeftovers(m_folder);
  // What a crash may have left in the file must not be taken for a mutex.
  const int error = ftruncate(m_file.Get(), 0) != 0
                        ? errno
                        : posix_fallocate(m_file.Get(), 0, sizeof(RobustMutex));
  if (error == 0 && Map()) {
    new (m_mutex) RobustMutex(RobustMutex::Sharing::kProcesses);
    if (m_mutex->IsValid()) return Lock(m_file, LOCK_SH);
  }
  if (error != 0) errno = error;
  RemoveFile();
  return false;
}

bool SharedHome::Join() {
  struct stat status {};
  if (!Lock(m_file, LOCK_SH) || fstat(m_file.Get(), &status) != 0) return false;
  if (status.st_size != sizeof(RobustMutex)) {
    errno = EINVAL;
    return false;
  }
  return Map();
}

bool SharedHome::Map() {
  void* memory =
      mmap(nullptr, sizeof(RobustMutex), PROT_READ | PROT_WRITE, MAP_SHARED, m_file.Get(), 0);
  if (memory == MAP_FAILED) return false;
  m_mutex = static_cast<RobustMutex*>(memory);
  return true;
}

SharedHome::~SharedHome() {
  if (m_mutex != nullptr) munmap(m_mutex, sizeof(RobustMutex));
  // A forked child shares the lock with its parent, who alone removes the file.
  if (!m_isOpen || m_process != getpid()) return;
  const OwnedDescriptor guard = LockFolder(m_folder);
  if (guard.IsOpen() && Lock(m_file, LOCK_EX | LOCK_NB)) RemoveFile();
}

/// The named mutexes that this process has open: all its objects of one name share one home, so
/// that what one of them took another can release.
struct OpenNames {
  ForkMutex mutex;
  std::map<std::string, std::weak_ptr<MutexHome>> homes;

  static OpenNames& Get() {
    static OpenNames& names = *new OpenNames;
    return names;
  }
};

[[maybe_unused]] const OpenNames& kNamesMadeEarly = OpenNames::Get();

std::shared_ptr<MutexHome> FindOrOpen(const std::string& fileName, NamedMutexMode mode) {
  OpenNames& names = OpenNames::Get();
  const std::lock_guard lock(names.mutex);
  std::erase_if(names.homes, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<MutexHome>& known = names.homes[fileName];
  if (std::shared_ptr<MutexHome> home = known.lock()) return home;
  std::unique_ptr<SharedHome> opened = SharedHome::Open(fileName, mode);
  if (opened == nullptr) return nullptr;
  std::shared_ptr<MutexHome> home = ShareMutexHome(std::move(opened));
  known = home;
  return home;
}

}  // namespace

std::unique_ptr<PosixMutex> OpenNamedMutexObject(const char* name, NamedMutexMode mode) {
  errno = EINVAL;
  std::shared_ptr<MutexHome> home = name == nullptr ? nullptr : FindOrOpen(FileNameOf(name), mode);
  if (home == nullptr) {
    SetLastThreadError(errno == ENOENT ? thread_error::kNotFound : errno);
    return nullptr;
  }
  return std::make_unique<PosixMutex>(std::move(home));
}

}  // namespace tlk
