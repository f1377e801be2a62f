#include "tools/tlk/host/windows/InputReader.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/windows/OwnedHandle.h"
#include "tools/tlk/StandardInput.h"
#include "tools/tlk/host/windows/ComFailure.h"

namespace tlk::host {
/// What the two threads pass to each other, a piece at a time.
class InputReader::Exchange {
 public:
  Exchange() : m_ready(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    if (!m_ready) throw ComFailure("an event for standard input", LastError());
  }

  [[nodiscard]] HANDLE Ready() const { return m_ready.get(); }

  /// Hands a piece over when the one before is gone. An empty one is the end; false behind it.
  bool Give(std::string piece) {
    std::unique_lock lock(m_mutex);
    m_taken.wait(lock, [this] { return m_piece.empty(); });
    m_ended = piece.empty();
    m_piece = std::move(piece);
    SetEvent(Ready());
    return !m_ended;
  }

  /// Takes the piece that is there; the end stays.
  bool Take(std::string& bytes) {
    const std::lock_guard lock(m_mutex);
    bytes += m_piece;
    m_piece.clear();
    if (m_ended) return false;
    ResetEvent(Ready());
    m_taken.notify_one();
    return true;
  }

 private:
  const OwnedHandle m_ready;
  std::mutex m_mutex;
  std::condition_variable m_taken;
  std::string m_piece;
  bool m_ended = false;
};

InputReader::InputReader() : m_exchange(std::make_shared<Exchange>()) {
  std::thread([exchange = m_exchange] {
    std::string piece;
    do {
      piece.clear();
      ReadStandardInput(piece);
    } while (exchange->Give(std::move(piece)));
  }).detach();
}

InputReader::~InputReader() = default;

HANDLE InputReader::Ready() const { return m_exchange->Ready(); }

bool InputReader::Read(std::string& bytes) {
  WaitForSingleObject(Ready(), INFINITE);
  return m_exchange->Take(bytes);
}

}  // namespace tlk::host
