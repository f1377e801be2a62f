#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tools/tlk/wire/SilentLog.h"

namespace tlk {

/// A record as a logger was handed it. `text` is the first value; in the codec's records, which
/// have message number 1, that is a format, shown made out with the values behind it.
struct LogRecord {
  char severity = ' ';
  ModuleHandle module = nullptr;
  std::int32_t level = -1;
  std::uint32_t message = 0;
  std::string source;
  std::int32_t line = 0;
  std::string text;
};

/// A logger that keeps its records to itself. The codec and the control record in these three ways.
class RecordingLogger final : public SilentLog {
 public:
  std::vector<LogRecord> records;
  /// Called with each record, if set.
  std::function<void(const LogRecord&)> onRecord;

  void LogNormal(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                 std::int32_t line, ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'N', module, level, message, source, line, {}}, values);
    va_end(values);
  }
  void LogError(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                std::int32_t line, ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'E', module, level, message, source, line, {}}, values);
    va_end(values);
  }
  void LogError(std::int32_t level, std::uint32_t message, const char* source, std::int32_t line,
                ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'E', nullptr, level, message, source, line, {}}, values);
    va_end(values);
  }

  [[nodiscard]] std::string GetDirectory() const override { return m_directory; }
  void SetDirectory(const std::string& directory) override { m_directory = directory; }

 private:
  void Keep(LogRecord record, std::va_list values) {
    constexpr std::uint32_t kCodecMessage = 1;
    record.text = va_arg(values, const char*);
    if (record.message == kCodecMessage) {
      char madeOut[1024] = {};
      std::vsnprintf(madeOut, sizeof madeOut, record.text.c_str(), values);
      record.text = madeOut;
    }
    records.push_back(record);
    if (onRecord) onRecord(record);
  }

  std::string m_directory;
};

}  // namespace tlk
