#pragma once

#include "log/iLogger.h"

namespace tlk {

/// A log that drops every record, for the tool's own documents are to leave no trace in the user's
/// log. What goes wrong with them the codec also prints.
class SilentLog : public iLogger {
 public:
  [[nodiscard]] std::string GetDirectory() const override { return {}; }
  void SetDirectory(const std::string& /*directory*/) override {}
  void SetMaxQueueSize(std::int32_t /*bytes*/) override {}
  [[nodiscard]] std::int32_t GetMaxQueueSize() const override { return 0; }
  void SetLevel(const std::int32_t& /*level*/) override {}
  [[nodiscard]] std::int32_t GetLevel() const override { return 0; }
  void SetConsoleEcho(bool /*echo*/) override {}
  void SetRotation(const std::int32_t& /*maxFileSize*/,
                   const std::int32_t& /*fileCount*/) override {}

  void LogNormal(ModuleHandle, std::int32_t, std::uint32_t, const char*, std::int32_t,
                 ...) override {}
  void LogNormal(std::int32_t, std::uint32_t, const char*, std::int32_t, ...) override {}
  void LogWarning(ModuleHandle, std::int32_t, std::uint32_t, const char*, std::int32_t,
                  ...) override {}
  void LogWarning(std::int32_t, std::uint32_t, const char*, std::int32_t, ...) override {}
  void LogError(ModuleHandle, std::int32_t, std::uint32_t, const char*, std::int32_t,
                ...) override {}
  void LogError(std::int32_t, std::uint32_t, const char*, std::int32_t, ...) override {}

  void Write(std::string_view /*record*/) override {}
  std::uint32_t Flush() override { return 0; }
  void CopyLineList(LineList& /*lines*/) override {}
  void GetLineList(LineList& /*lines*/) override {}
  std::int32_t ScanLog(const std::int32_t& /*file*/, LineList& /*lines*/) override {
    return kScanNotOpened;
  }
};

}  // namespace tlk
