#include "tools/tlk/log/LogFile.h"

#include <windows.h>

#include <cerrno>
#include <utility>

#include "platform/windows/OwnedHandle.h"
#include "tools/tlk/InputFile.h"

namespace tlk::log {
namespace {

class WindowsLogFile final : public LogFile {
 public:
  WindowsLogFile(OwnedHandle file, FileId id) : m_file(std::move(file)), m_id(id) {}

  FileId Id() const override { return m_id; }

  std::uint64_t Size() const override {
    LARGE_INTEGER size{};
    return GetFileSizeEx(m_file.get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<char> room) const override {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    DWORD count = 0;
    return ReadFile(m_file.get(), room.data(), static_cast<DWORD>(room.size()), &count, &place)
               ? count
               : 0;
  }

 private:
  const OwnedHandle m_file;
  const FileId m_id;
};

std::string FailureOf(DWORD error) {
  const bool isMissing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
  errno = isMissing ? ENOENT : EACCES;
  return SystemFailure();
}

}  // namespace

// Others may do everything with the file meanwhile: a log that cannot be moved is not rotated.
std::unique_ptr<LogFile> LogFile::Open(const std::string& path, std::string& failure) {
  OwnedHandle file = OwnFile(CreateFileA(path.c_str(), GENERIC_READ,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  BY_HANDLE_FILE_INFORMATION told{};
  if (!file) {
    failure = FailureOf(GetLastError());
    return nullptr;
  }
  if (GetFileType(file.get()) != FILE_TYPE_DISK || !GetFileInformationByHandle(file.get(), &told)) {
    failure = "not a regular file";
    return nullptr;
  }
  const std::uint64_t number = std::uint64_t{told.nFileIndexHigh} << 32U | told.nFileIndexLow;
  return std::make_unique<WindowsLogFile>(std::move(file),
                                          FileId{told.dwVolumeSerialNumber, number});
}

}  // namespace tlk::log
