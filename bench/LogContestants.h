#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "log/QNLogger.h"
#include "platform/StringTable.h"

namespace spdlog {
class async_logger;
namespace details {
class thread_pool;
}
}  // namespace spdlog

namespace tlk::bench {

/// What every record says: the line that the control logs about a message of 200 bytes.
inline constexpr const char* kRecordText =
    "Message Recieved. <Data><Entry><Name>pressure</Name><Value>17.25</Value></Entry></Data>\n";
inline constexpr const char* kSource = "Tlkc";
inline constexpr int kSourceLine = 1000;

/// A folder that is there, with all that lies in it, as long as the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& Path() const { return m_path; }
  void Empty() const;

 private:
  std::string m_path;
};

/// The log of this project: rotation as by default, 2 MiB by 10, and no echo. Its writer runs from
/// the start, on whatever processors the maker may use.
class OwnLog {
 public:
  explicit OwnLog(const std::string& folder);

  void Record() { m_log.LogNormal(m_module, 0, 101, kSource, kSourceLine, kRecordText); }
  void Drain() { m_log.Flush(); }

  [[nodiscard]] QNLogger& Get() { return m_log; }

 private:
  const ModuleHandle m_module;
  QNLogger m_log;
};

/// An asynchronous logger of spdlog as its users set it up: one thread, the queue of 8,192 records,
/// blocking when it is full, the same rotation, and a pattern that writes the same lines.
class SpdLog {
 public:
  explicit SpdLog(const std::string& folder);
  ~SpdLog();

  void Record();
  void Drain();

 private:
  std::shared_ptr<spdlog::details::thread_pool> m_pool;
  std::shared_ptr<spdlog::async_logger> m_log;
};

}  // namespace tlk::bench
