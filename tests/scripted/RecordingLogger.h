#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "log/iLogger.h"

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

/// A logger that keeps its records to itself.
class RecordingLogger final : public iLogger {
 public:
  std::vector<LogRecord> records;
  /// Called with each record, if set.
  std::function<void(const LogRecord&)> onRecord;

  [[nodiscard]] std::string GetDirectory() const override { return m_directory; }
  void SetDirectory(const std::string& directory) override { m_directory = directory; }
  void SetMaxQueueSize(std::int32_t /*bytes*/) override {}
  [[nodiscard]] std::int32_t GetMaxQueueSize() const override { return 0; }
  void SetLevel(const std::int32_t& /*level*/) override {}
  [[nodiscard]] std::int32_t GetLevel() const override { return 0; }
  void SetConsoleEcho(bool /*echo*/) override {}
  void SetRotation(const std::int32_t& /*maxFileSize*/, const std::int32_t& /*count*/) override {}

  void LogNormal(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                 std::int32_t line, ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'N', module, level, message, source, line, {}}, values);
    va_end(values);
  }
  void LogNormal(std::int32_t level, std::uint32_t message, const char* source, std::int32_t line,
                 ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'N', nullptr, level, message, source, line, {}}, values);
    va_end(values);
  }
  void LogWarning(ModuleHandle module, std::int32_t level, std::uint32_t message,
                  const char* source, std::int32_t line, ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'W', module, level, message, source, line, {}}, values);
    va_end(values);
  }
  void LogWarning(std::int32_t level, std::uint32_t message, const char* source, std::int32_t line,
                  ...) override {
    std::va_list values;
    va_start(values, line);
    Keep({'W', nullptr, level, message, source, line, {}}, values);
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

  void Write(std::string_view /*record*/) override {}
  std::uint32_t Flush() override { return 0; }
  void CopyLineList(LineList& /*lines*/) override {}
  void GetLineList(LineList& lines) override { lines.clear(); }
  std::int32_t ScanLog(const std::int32_t& /*file*/, LineList& /*lines*/) override {
    return kScanNotOpened;
  }

 private:
  static constexpr std::uint32_t kCodecMessage = 1;

  void Keep(LogRecord record, std::va_list values) {
    const char* const text = va_arg(values, const char*);
    record.text = text;
    if (record.message == kCodecMessage) {
      char madeOut[1024];
      std::vsnprintf(madeOut, sizeof madeOut, text, values);
      record.text = madeOut;
    }
    records.push_back(record);
    if (onRecord) {
      onRecord(record);
    }
  }

  std::string m_directory;
};

}  // namespace tlk
