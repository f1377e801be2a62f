// The log's writer with file calls, waits and threads that fail: what was reported written is in
// some file, once, whole and in order.

#include <vector>

#include "fuzz/Fuzzing.h"
#include "log/QNLogger.h"
#include "log/RecordFormat.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedSynchronisation.h"

namespace tlk::fuzz {
namespace {

using test::FileCall;

std::string Name(int generation) {
  return generation > 0 ? "t" + std::to_string(generation) + ".log" : "t.log";
}

/// Files whose calls fail as the input says, and what came of them.
struct Disk {
  Disk() {
    files.OnCall([this](const FileCall& call) { Meet(call); });
    files.FailWhen([this](const FileCall&) { return fault == 1; }, append_result::kNotOpened);
    files.FailWhen([this](const FileCall&) { return fault == 2; }, append_result::kNotWritten);
  }

  std::string faults;  ///< By call: 1 and 2 are the two ways to fail.
  int count = 0;       ///< Of files that the log may keep.
  std::atomic<bool> isHealthy{false};
  test::ScriptedFiles files;
  std::string written;  ///< All that was reported written.
  std::size_t removed = 0;
  std::size_t longest = 0;
  bool wereMovesFine = true;
  std::size_t next = 0;
  int fault = 0;

  void Meet(const FileCall& call) {
    fault = isHealthy || next >= faults.size() ? 0 : static_cast<unsigned char>(faults[next++]) % 3;
    const bool isAppend = call.kind == FileCall::Kind::kAppend;
    if (fault != 0) {
      wereMovesFine = wereMovesFine && isAppend;
    } else if (isAppend) {
      written.append(call.argument).append("\n");
      longest = std::max(longest, call.argument.size() + 1);
    } else if (call.kind == FileCall::Kind::kRemove && files.Content(call.path)) {
      removed += files.Content(call.path)->size();
      const bool isFull = files.Names().size() == static_cast<std::size_t>(count);
      Check(!wereMovesFine || (isFull && call.path == Name(count - 1)), "the oldest goes, if any");
    }
  }
};

/// A log on such files.
struct Stage {
  Disk disk;
  std::vector<std::string> lines;  ///< What the log was given, as it is to be written.
  test::ScriptedStringTable strings;
  test::ScriptedSurroundings surroundings;
  test::ScriptedSynchronisation sync;  // Waits for the writer, which uses the others.
  Platform platform{SystemPlatform().text, strings, sync, surroundings, disk.files};
  QNLogger log{"t.log", 3, platform};

  void Expect(std::string_view mark, std::string_view text) {
    const RecordStamp stamp(surroundings.Now(), sync.CurrentThreadId(), mark);
    lines.emplace_back(stamp.View()).append(text);
  }

  void Write(const std::string& text) {
    Expect("", text);
    log.Write(text);
  }

  void Warn(std::int32_t level, const std::string& text) {
    const std::size_t cut = std::min<std::size_t>(text.find('\0'), 8192);
    if (level <= 3) Expect("W ", text.substr(0, cut) + " (F - 7)");
    log.LogWarning(level, kPlainTextMessage, "F", 7, text.c_str());
  }

  // While no file can be opened a flush may wait for the next line, so all goes well meanwhile.
  bool Flush() {
    disk.isHealthy = true;
    const bool isFlushed = log.Flush() == 0;
    disk.isHealthy = false;
    return isFlushed;
  }
};

// Long ones too, so that the message of a record is cut.
std::string Text(Input& input) {
  std::string text = input.Text();
  for (auto doublings = input.Byte() / 28U; doublings > 0 && text.size() < 10'000; --doublings)
    text.append(std::string(text));
  return text;
}

void Fill(Stage& stage, Input& input) {
  auto& sync = stage.sync;
  sync.eitherWaits.Give(WaitResult::kFailed, input.Byte() % 3);
  sync.mutexWaits.Give(WaitResult::kFailed, input.Byte() % 3);
  const bool areWaitsFine = sync.eitherWaits.waitsLeft + sync.mutexWaits.waitsLeft == 0;
  for (int steps = 0; steps < 80 && !input.AtEnd(); ++steps) {
    const auto step = input.Choice(8);
    if (step == 0) Check(stage.Flush() || !areWaitsFine, "a flush succeeds");
    if (step == 1) sync.refusesThreads = input.Coin();
    if (step == 2) stage.Warn(input.Byte() % 5, Text(input));
    if (step > 2) stage.Write(Text(input));
  }
  sync.eitherWaits.waitsLeft = sync.mutexWaits.waitsLeft = 0;
  sync.refusesThreads = false;
  for (int i = 0; i < 3; ++i) stage.Write("last");  // One may meet a writer that is about to end.
  stage.Flush();
  Check(stage.Flush(), "a log that is well again is flushed");
}

void CheckLines(const Stage& stage) {
  std::vector<std::string> tried;
  for (const auto& call : stage.disk.files.Calls()) {
    const bool isMarker = call.argument.starts_with("-----");
    if (call.kind == FileCall::Kind::kAppend && !isMarker) tried.push_back(call.argument);
  }
  Check(tried == stage.lines, "each line is tried once, whole and in order");
}

void CheckFiles(const Disk& disk, int limit) {
  std::size_t kept = 0;
  std::size_t place = 0;
  for (int i = std::max(disk.count - 1, 0); i >= 0; --i) {
    const std::string content = disk.files.Content(Name(i)).value_or("");
    place = disk.written.find(content, place);
    Check(place != std::string::npos, "a file is a piece of what was written, behind the older");
    place += content.size();
    kept += content.size();
    Check(content.empty() || content.back() == '\n', "a file ends with a whole line");
    const std::size_t bound = static_cast<std::size_t>(limit) + disk.longest;
    Check(disk.count < 2 || !disk.wereMovesFine || content.size() <= bound,
          "a file stays in bounds");
  }
  Check(kept + disk.removed == disk.written.size(), "no record is lost, none is there twice");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  Stage stage;
  stage.disk.count = input.Byte() % 5;
  const int limit = input.Byte() * 4;
  stage.disk.faults = input.Text();
  stage.log.SetRotation(limit, stage.disk.count);
  stage.log.SetMaxQueueSize(input.Byte() * 8 - 100);
  Fill(stage, input);
  CheckLines(stage);
  CheckFiles(stage.disk, limit);
  return 0;
}
