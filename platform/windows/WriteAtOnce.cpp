#include "platform/WriteAtOnce.h"

#include <io.h>
#include <windows.h>

#include <array>
#include <mutex>

namespace tlk {
namespace {

/// A pipe that does not wait takes a piece whole or not at all: no piece is longer than the room of
/// a usual pipe.
constexpr std::size_t kMostAtOnce = 4096;

/// Through the C runtime's descriptor, because what a program prints goes there. Its own calls are
/// not used: they wait for a thread that is in one.
HANDLE HandleOf(StandardStream stream) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(stream == StandardStream::kOutput ? 1 : 2));
}

/// Lets a write to a pipe return at once, for as long as this lives: the system has no way to ask
/// that for one write. What is no pipe of the system's refuses.
class PipeWithoutWait {
 public:
  explicit PipeWithoutWait(HANDLE pipe) : m_pipe(pipe) {
    if (::GetFileType(pipe) != FILE_TYPE_PIPE) return;
    ::GetNamedPipeHandleStateA(pipe, &m_before, nullptr, nullptr, nullptr, nullptr, 0);
    DWORD mode = m_before | PIPE_NOWAIT;
    m_isChanged = mode != m_before && ::SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr);
  }
  PipeWithoutWait(const PipeWithoutWait&) = delete;
  PipeWithoutWait& operator=(const PipeWithoutWait&) = delete;
  ~PipeWithoutWait() {
    if (m_isChanged) ::SetNamedPipeHandleState(m_pipe, &m_before, nullptr, nullptr);
  }

 private:
  const HANDLE m_pipe;
  DWORD m_before = PIPE_WAIT;
  bool m_isChanged = false;
};

/// How much of `text` lies in the first `written` bytes of what it becomes in text mode.
std::size_t PartIn(std::string_view text, std::size_t written) {
  std::size_t part = 0;
  for (std::size_t end = 0; part < text.size(); ++part) {
    end += text[part] == '\n' ? 2 : 1;
    if (end > written) break;
  }
  return part;
}

/// Returns how much of `text` went out.
std::size_t WriteInTextMode(HANDLE handle, std::string_view text) {
  std::array<char, kMostAtOnce> piece;
  std::size_t written = 0;
  while (written < text.size()) {
    DWORD size = 0;
    std::size_t end = written;
    for (; end < text.size() && size + 2 <= piece.size(); ++end) {
      if (text[end] == '\n') piece[size++] = '\r';
      piece[size++] = text[end];
    }
    DWORD count = 0;
    if (!::WriteFile(handle, piece.data(), size, &count, nullptr)) count = 0;
    if (count < size) return written + PartIn(text.substr(written), count);
    written = end;
  }
  return written;
}

}  // namespace

std::size_t WriteAtOnce(StandardStream stream, std::string_view text) noexcept {
  // One thread at a time: the end of one would make the pipe wait again while another writes.
  static std::mutex alone;
  const std::lock_guard guard(alone);
  const HANDLE handle = HandleOf(stream);
  const PipeWithoutWait withoutWait(handle);
  return WriteInTextMode(handle, text);
}

}  // namespace tlk
