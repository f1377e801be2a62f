#include "bench/LogContestants.h"

#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "platform/posix/PosixStringTable.h"

namespace tlk::bench {
namespace {

constexpr std::int32_t kThreshold = 4;
constexpr std::size_t kFileSize = std::size_t{2} * 1024 * 1024;
constexpr std::size_t kFiles = 10;

}  // namespace

TemporaryFolder::TemporaryFolder()
    : m_path(std::filesystem::temp_directory_path() / "tlkc2-bench-XXXXXX") {
  if (mkdtemp(m_path.data()) == nullptr) {
    throw std::filesystem::filesystem_error("no temporary folder", m_path,
                                            std::make_error_code(std::errc::io_error));
  }
}

TemporaryFolder::~TemporaryFolder() { std::filesystem::remove_all(m_path); }

void TemporaryFolder::Empty() const {
  for (const auto& entry : std::filesystem::directory_iterator(m_path))
    std::filesystem::remove(entry);
}

OwnLog::OwnLog(const std::string& folder)
    : m_module(SystemStringTable().Register("TlkC2.dll", 101, "%s")), m_log("own.log", kThreshold) {
  m_log.SetDirectory(folder);
  m_log.SetConsoleEcho(false);
  Record();
  Drain();
}

SpdLog::SpdLog(const std::string& folder)
    : m_pool(
          std::make_shared<spdlog::details::thread_pool>(spdlog::details::default_async_q_size, 1)),
      m_log(std::make_shared<spdlog::async_logger>(
          "rival",
          std::make_shared<spdlog::sinks::rotating_file_sink_mt>(folder + "/rival.log", kFileSize,
                                                                 kFiles),
          m_pool, spdlog::async_overflow_policy::block)) {
  m_log->set_pattern("%m/%d/%Y %H:%M:%S.%e  (%t) N %v (%s - %#)");
  Record();
  Drain();
}

SpdLog::~SpdLog() = default;

void SpdLog::Record() { m_log->log({kSource, kSourceLine, ""}, spdlog::level::info, kRecordText); }

void SpdLog::Drain() {
  while (m_pool->queue_size() > 0) std::this_thread::yield();
}

}  // namespace tlk::bench
