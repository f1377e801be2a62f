// The log's writer with file calls that fail: each line is tried once, and those that were reported
// written are in some file, whole and in order, or went with an oldest file.

#include <vector>

#include "fuzz/Fuzzing.h"
#include "log/QNLogger.h"
#include "tests/scripted/ScriptedFiles.h"

namespace tlk::fuzz {
namespace {

using test::FileCall;

/// Files whose calls fail as the input says, and what was asked of them.
struct Disk {
  explicit Disk(std::string failing) : faults(std::move(failing)) {
    files.answer = [this](const FileCall& call) { return Answer(call); };
  }

  std::optional<std::int64_t> Answer(const FileCall& call) {
    const bool isAppend = call.kind == FileCall::Kind::kAppend;
    if (isAppend && !call.argument.starts_with("-----"))
      tried.push_back(call.argument.substr(call.argument.find(") ") + 2));
    const int fault = isHealthy || next >= faults.size() ? 0 : faults[next++] & 3;
    if (fault == 1) return append_result::kNotOpened;
    if (fault == 2) return append_result::kNotWritten;
    if (isAppend) written.append(call.argument).append("\n");
    if (call.kind == FileCall::Kind::kRemove) removed += files.Contents()[call.path].size();
    return std::nullopt;
  }

  /// Files, from the oldest on.
  void CheckFiles(int count) const {
    std::size_t kept = 0;
    std::size_t place = 0;
    auto contents = files.Contents();
    for (int i = std::max(count - 1, 0); i >= 0; --i) {
      const std::string content = contents["t" + (i > 0 ? std::to_string(i) : "") + ".log"];
      place = written.find(content, place);
      Check(place != std::string::npos, "a file is a piece of what was written, behind the older");
      place += content.size();
      kept += content.size();
    }
    Check(kept + removed == written.size(), "no line is lost, none is there twice");
  }

  const std::string faults;
  std::size_t next = 0;
  std::atomic<bool> isHealthy{false};
  std::vector<std::string> tried;
  std::string written;
  std::size_t removed = 0;
  test::ScriptedFiles files;
};

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk;
  fuzz::Input input(data, size);
  const int count = input.Byte() % 5;
  const int limit = input.Byte() * 4;
  fuzz::Disk disk(input.Text());
  const Platform& real = SystemPlatform();
  const Platform platform{real.text, real.strings, real.synchronisation, real.surroundings,
                          disk.files};
  QNLogger log("t.log", 3, platform);
  log.SetRotation(limit, count);
  log.SetMaxQueueSize(input.Byte() * 8 - 100);
  std::vector<std::string> given;
  for (int steps = 0; steps < 80 && !input.AtEnd(); ++steps) {
    disk.isHealthy = input.Choice(8) == 0;  // Else a flush may wait for the next line.
    if (disk.isHealthy) {
      fuzz::Check(log.Flush() == 0, "a flush succeeds");
    } else {
      log.Write(given.emplace_back(input.Text()));
    }
  }
  disk.isHealthy = true;
  fuzz::Check(log.Flush() == 0, "the last flush succeeds");
  log.Rest();  // The writer has files that end here.
  fuzz::Check(disk.tried == given, "each line is tried once, whole and in order");
  disk.CheckFiles(count);
  return 0;
}
