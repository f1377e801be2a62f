// The log's writer with file calls, waits and threads that fail: each line is tried once, and those
// that were reported written are in some file, whole and in order, or went with an oldest file.

#include <vector>

#include "fuzz/Fuzzing.h"
#include "log/QNLogger.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedSynchronisation.h"

namespace tlk::fuzz {
namespace {

using test::FileCall;

/// A log, and files whose calls fail as the input says.
struct Stage {
  explicit Stage(std::string failing) : faults(std::move(failing)) {
    files.answer = [this](const FileCall& call) { return Answer(call); };
  }

  const std::string faults;  ///< By call: 1 and 2 are the two ways to fail.
  std::atomic<bool> isHealthy{false};
  std::size_t next = 0;
  std::vector<std::string> given;  ///< To the log.
  std::vector<std::string> tried;
  std::string written;
  std::size_t removed = 0;
  test::ScriptedFiles files;
  test::ScriptedStringTable strings;
  test::ScriptedSurroundings surroundings;
  test::ScriptedSynchronisation sync;  // Waits for the writer, which uses the others.
  Platform platform{SystemPlatform().text, strings, sync, surroundings, files};
  QNLogger log{"t.log", 3, platform};

  std::optional<std::int64_t> Answer(const FileCall& call) {
    const int fault =
        isHealthy || next >= faults.size() ? 0 : static_cast<unsigned char>(faults[next++]) % 3;
    const bool isAppend = call.kind == FileCall::Kind::kAppend;
    if (isAppend && !call.argument.starts_with("-----"))
      tried.push_back(call.argument.substr(call.argument.find(") ") + 2));
    if (fault != 0) return fault == 1 ? append_result::kNotOpened : append_result::kNotWritten;
    if (isAppend) written.append(call.argument).append("\n");
    if (call.kind == FileCall::Kind::kRemove) removed += files.Contents()[call.path].size();
    return std::nullopt;
  }

  void Write(const std::string& text) {
    given.push_back(text);
    log.Write(text);
  }

  // While no file can be opened a flush may wait for the next line, so all goes well meanwhile.
  bool Flush() {
    isHealthy = true;
    const bool isFlushed = log.Flush() == 0;
    isHealthy = false;
    return isFlushed;
  }
};

void Fill(Stage& stage, Input& input) {
  auto& sync = stage.sync;
  sync.eitherWaits.Give(WaitResult::kFailed, input.Byte() % 3);
  sync.mutexWaits.Give(WaitResult::kFailed, input.Byte() % 3);
  const bool areWaitsFine = sync.eitherWaits.left + sync.mutexWaits.left == 0;
  for (int steps = 0; steps < 80 && !input.AtEnd(); ++steps) {
    const auto step = input.Choice(8);
    if (step == 0) Check(stage.Flush() || !areWaitsFine, "a flush succeeds");
    if (step == 1) sync.refusesThreads = input.Coin();
    if (step > 1) stage.Write(input.Text());
  }
  sync.eitherWaits.left = sync.mutexWaits.left = 0;
  sync.refusesThreads = false;
  for (int i = 0; i < 3; ++i) stage.Write("last");  // One may meet a writer that is about to end.
  stage.Flush();
  Check(stage.Flush(), "a log that is well again is flushed");
}

// Files, from the oldest on.
void CheckFiles(const Stage& stage, int count) {
  std::size_t kept = 0;
  std::size_t place = 0;
  auto contents = stage.files.Contents();
  for (int i = std::max(count - 1, 0); i >= 0; --i) {
    const std::string content = contents["t" + (i > 0 ? std::to_string(i) : "") + ".log"];
    place = stage.written.find(content, place);
    Check(place != std::string::npos, "a file is a piece of what was written, behind the older");
    Check(content.empty() || content.back() == '\n', "a file ends with a whole line");
    place += content.size();
    kept += content.size();
  }
  Check(kept + stage.removed == stage.written.size(), "no line is lost, none is there twice");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  const int count = input.Byte() % 5;
  const int limit = input.Byte() * 4;
  Stage stage(input.Text());
  stage.log.SetRotation(limit, count);
  stage.log.SetMaxQueueSize(input.Byte() * 8 - 100);
  Fill(stage, input);
  Check(stage.tried == stage.given, "each line is tried once, whole and in order");
  CheckFiles(stage, count);
  return 0;
}
