#pragma once

#include "platform/Surroundings.h"

namespace tlk {

/// The surroundings of a Windows process.
class WindowsSurroundings final : public Surroundings {
 public:
  [[nodiscard]] std::uint32_t TemporaryFolder(std::span<char> buffer) const override;
  [[nodiscard]] const char* FallbackFolder() const override { return "C:\\"; }
  [[nodiscard]] char PathSeparator() const override { return '\\'; }
  void DebugOutput(const char* text) override;
  [[nodiscard]] LocalTime Now() const override;
  [[nodiscard]] std::uint64_t TickCount() const override;
  void Sleep(std::uint32_t milliseconds) override;
  [[nodiscard]] bool ReadProcessTimes(ProcessTimes& times) const override;
};

}  // namespace tlk
