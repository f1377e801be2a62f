#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedSynchronisation.h"

namespace tlk::test {

/// A platform for a log. It waits for the log's writer thread when it ends, so the log goes first.
struct LogHarness {
  ScriptedStringTable strings;
  ScriptedSurroundings surroundings;
  ScriptedFiles files;
  ScriptedSynchronisation synchronisation;
  Platform platform{SystemPlatform().text, strings, synchronisation, surroundings, files};

  [[nodiscard]] Platform PlatformWith(Synchronisation& other) {
    return {platform.text, strings, other, surroundings, files};
  }

  void SetText(ModuleHandle module, std::uint32_t number, std::string text) {
    strings.texts[{module, number}] = std::move(text);
  }

  /// The lines of a file; none when there is no such file.
  [[nodiscard]] std::vector<std::string> Lines(const std::string& path) const {
    std::istringstream content(files.Content(path).value_or(""));
    std::vector<std::string> lines;
    for (std::string line; std::getline(content, line);) lines.push_back(line);
    return lines;
  }

  /// Every append from now on gives this result and writes nothing, until `files.HealAll()`.
  void AnswerAppends(std::int64_t result) {
    files.HealAll();
    files.FailWhen([](const FileCall& call) { return call.kind == FileCall::Kind::kAppend; },
                   result);
  }

  /// Calls `action` on the writer thread before each append. Set it before the first line.
  void OnAppend(std::function<void()> action) {
    files.OnCall([action = std::move(action)](const FileCall& call) {
      if (call.kind == FileCall::Kind::kAppend) action();
    });
  }

  /// The calls that deleted or renamed, or tried to.
  [[nodiscard]] std::vector<FileCall> Moves() const {
    std::vector<FileCall> moves = files.Calls();
    std::erase_if(moves, [](const FileCall& call) { return call.kind == FileCall::Kind::kAppend; });
    return moves;
  }
};

/// What is printed on standard output while it lives.
class StdoutCapture {
 public:
  StdoutCapture() { testing::internal::CaptureStdout(); }
  ~StdoutCapture() {
    if (!m_isTaken) testing::internal::GetCapturedStdout();
  }
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  /// Ends the capture.
  [[nodiscard]] std::string Text() {
    m_isTaken = true;
    return testing::internal::GetCapturedStdout();
  }

 private:
  bool m_isTaken = false;
};

/// Waits for a condition; false when it has not come true within ten seconds.
template <typename Condition>
[[nodiscard]] bool Eventually(const Condition& condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace tlk::test
