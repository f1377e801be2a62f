#include "bench/LogDrain.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

namespace tlk::bench {

void AppendByHand(const std::string& path, const std::string& line, int lines) {
  for (int i = 0; i < lines; ++i) {
    const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    const bool isWritten =
        write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    const off_t size = lseek(file, 0, SEEK_CUR);
    if (close(file) != 0 || !isWritten || size <= 0) throw std::runtime_error("no line appended");
  }
}

HeldLog::HeldLog(const std::string& folder) : m_log(folder) {
  const auto wait = [](void* gate, const char*, const char*) {
    static_cast<std::binary_semaphore*>(gate)->acquire();
  };
  m_log.Get().SetThreadStartHook(wait, &m_gate);
}

void HeldLog::Fill(int records) {
  m_log.Get().Rest();
  for (int i = 0; i < records; ++i) m_log.Record();
}

void HeldLog::Drain() {
  m_gate.release();
  m_log.Drain();
}

}  // namespace tlk::bench
