#include "tools/tlk/console/LibraryOutput.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <array>

#include "platform/windows/OwnedHandle.h"
#include "tools/tlk/windows/StandardOutput.h"

namespace tlk {
namespace {

constexpr int kStandardOutput = 1;
constexpr DWORD kPipeSize = 65536;

HANDLE OutputHandle() { return reinterpret_cast<HANDLE>(_get_osfhandle(kStandardOutput)); }

}  // namespace

/// A read is under way at any time: the system has no other wait for a pipe.
struct LibraryOutput::Pipe {
  OwnedHandle from;
  const OwnedHandle hasRead{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  HANDLE lead = nullptr;  ///< What standard output is while it leads into the pipe.
  OVERLAPPED read{};
  std::array<char, 4096> piece{};

  /// False at the end.
  bool Begin() {
    read = {};
    read.hEvent = hasRead.get();
    return ReadFile(from.get(), piece.data(), static_cast<DWORD>(piece.size()), nullptr, &read) ||
           GetLastError() == ERROR_IO_PENDING;
  }
};

// Only such a pipe as has a name can be read without waiting. Where there is none to be had, all
// goes on where it went, and the end comes at once.
LibraryOutput::LibraryOutput() : m_pipe(std::make_unique<Pipe>()) {
  const std::wstring name = L"\\\\.\\pipe\\tlk-" + std::to_wstring(GetCurrentProcessId());
  m_pipe->from = OwnFile(CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, kPipeSize, 0, nullptr));
  const HANDLE to = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(to), _O_BINARY);
  if (descriptor != -1 && LeadStandardOutputTo(descriptor)) m_pipe->lead = OutputHandle();
  if (descriptor != -1) _close(descriptor);
  if (!m_pipe->Begin()) SetEvent(m_pipe->hasRead.get());
}

LibraryOutput::~LibraryOutput() = default;

// It may lead elsewhere by now, and stays there then.
void LibraryOutput::End() {
  if (OutputHandle() == m_pipe->lead) SendStandardOutputToStandardError();
}

void LibraryOutput::Wait() const { WaitForSingleObject(m_pipe->hasRead.get(), INFINITE); }

bool LibraryOutput::Take(std::string& bytes) {
  DWORD count = 0;
  while (GetOverlappedResult(m_pipe->from.get(), &m_pipe->read, &count, FALSE)) {
    bytes.append(m_pipe->piece.data(), count);
    if (!m_pipe->Begin()) return false;
  }
  return GetLastError() == ERROR_IO_INCOMPLETE;
}

}  // namespace tlk
