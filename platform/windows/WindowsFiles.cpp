#include "platform/windows/WindowsFiles.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "platform/windows/OwnedHandle.h"

namespace tlk {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

std::string InTextMode(std::string_view line) {
  const auto feeds = static_cast<std::size_t>(std::ranges::count(line, '\n'));
  std::string text;
  text.reserve(line.size() + feeds + kLineEnd.size());
  for (const char character : line) {
    if (character == '\n') text += '\r';
    text += character;
  }
  return text += kLineEnd;
}

OwnedHandle Open(const std::string& path, DWORD access, DWORD disposition) {
  return OwnFile(::CreateFileA(path.c_str(), access,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

OwnedHandle OpenLog(const std::string& path) {
  OwnedHandle file = Open(path, GENERIC_WRITE, OPEN_ALWAYS);
  if (file && ::GetFileType(file.get()) == FILE_TYPE_PIPE) file.reset();
  return file;
}

/// Writes at the file's end, wherever that is by then; returns how many bytes went out.
DWORD Append(HANDLE file, std::string_view text) {
  OVERLAPPED end{};
  end.Offset = end.OffsetHigh = 0xFFFFFFFF;
  DWORD written = 0;
  ::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, &end);
  return written;
}

/// Cuts off the `written` bytes that were appended last, if they are the file's last.
void TakeBack(HANDLE file, DWORD written) {
  LARGE_INTEGER position{};
  LARGE_INTEGER size{};
  if (!::SetFilePointerEx(file, {}, &position, FILE_CURRENT) || !::GetFileSizeEx(file, &size) ||
      position.QuadPart != size.QuadPart) {
    return;
  }
  position.QuadPart -= written;
  // When this fails the torn line stays; it is reported as not written all the same.
  if (::SetFilePointerEx(file, position, nullptr, FILE_BEGIN)) ::SetEndOfFile(file);
}

/// Takes the file's lock, which goes with the handle. It lies on a byte that no file has.
bool Lock(HANDLE file) {
  OVERLAPPED place{};
  place.OffsetHigh = 0x7FFFFFFF;
  return ::LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place);
}

bool IsSameFile(const BY_HANDLE_FILE_INFORMATION& one, const BY_HANDLE_FILE_INFORMATION& other) {
  return one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
         one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

}  // namespace

std::int64_t WindowsFiles::AppendLine(const std::string& path, std::string_view line) try {
  const std::string text = InTextMode(line);
  const OwnedHandle file = OpenLog(path);
  if (!file) return append_result::kNotOpened;
  const DWORD written = Append(file.get(), text);
  if (written < text.size()) {
    if (written > 0) TakeBack(file.get(), written);
    return append_result::kNotWritten;
  }
  LARGE_INTEGER size{};
  return ::GetFileSizeEx(file.get(), &size) ? size.QuadPart : 0;
} catch (const std::bad_alloc&) {
  return append_result::kNotWritten;
}

// A file that another program does not let go of is not rotated now: the older files, which move
// first, would have moved for nothing.
bool WindowsFiles::RotateAlone(const std::string& path, std::int64_t size,
                               const std::function<bool()>& rotate) {
  const OwnedHandle file = Open(path, GENERIC_WRITE | DELETE, OPEN_EXISTING);
  if (!file) return ::GetLastError() == ERROR_FILE_NOT_FOUND;
  if (!Lock(file.get())) return true;
  const OwnedHandle current = Open(path, 0, OPEN_EXISTING);
  BY_HANDLE_FILE_INFORMATION held{};
  BY_HANDLE_FILE_INFORMATION named{};
  if (!current || !::GetFileInformationByHandle(file.get(), &held) ||
      !::GetFileInformationByHandle(current.get(), &named) || !IsSameFile(held, named)) {
    return true;
  }
  const std::int64_t there = std::int64_t{held.nFileSizeHigh} << 32 | held.nFileSizeLow;
  return there <= size || rotate();
}

bool WindowsFiles::Read(const std::string& path,
                        const std::function<void(std::string_view)>& take) {
  const OwnedHandle file = Open(path, GENERIC_READ, OPEN_EXISTING);
  if (!file || ::GetFileType(file.get()) != FILE_TYPE_DISK) return false;
  std::array<char, 16384> piece;
  DWORD count = 0;
  while (::ReadFile(file.get(), piece.data(), piece.size(), &count, nullptr) && count > 0)
    take({piece.data(), count});
  return true;
}

bool WindowsFiles::VisitFolder(const std::string& path,
                               const std::function<void(std::string_view)>& visit) {
  const std::string folder = path.substr(0, path.find_last_of("\\/:") + 1);
  WIN32_FIND_DATAA found{};
  const HANDLE first = ::FindFirstFileA((folder + '*').c_str(), &found);
  if (first == INVALID_HANDLE_VALUE) return false;
  const std::unique_ptr<void, decltype(&::FindClose)> listing(first, ::FindClose);
  do {
    visit(folder + found.cFileName);
  } while (::FindNextFileA(first, &found));
  return ::GetLastError() == ERROR_NO_MORE_FILES;
}

bool WindowsFiles::Remove(const std::string& path) { return ::DeleteFileA(path.c_str()) != 0; }

bool WindowsFiles::Rename(const std::string& from, const std::string& to) {
  return ::MoveFileExA(from.c_str(), to.c_str(), 0) != 0;
}

}  // namespace tlk
