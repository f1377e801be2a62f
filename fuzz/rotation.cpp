// The log's writer and its files, with file calls, waits and threads that fail: what was reported
// written is in some file, once, whole and in order.

#include <memory>
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

/// Files whose calls fail as the input says, and what came of them. The writer's thread alone
/// calls.
class Disk {
 public:
  Disk(std::string faults, std::string oldest)
      : m_faults(std::move(faults)), m_oldest(std::move(oldest)) {
    files.OnCall([this](const FileCall& call) { Meet(call); });
    files.FailWhen([this](const FileCall&) { return m_fault == 1; }, append_result::kNotOpened);
    files.FailWhen([this](const FileCall&) { return m_fault == 2; }, append_result::kNotWritten);
  }

  test::ScriptedFiles files;
  std::atomic<bool> isHealthy{false};
  std::string written;      ///< All that was reported written.
  std::size_t removed = 0;  ///< How much of it was deleted again.
  std::size_t longest = 0;  ///< The longest line.
  bool wereMovesFine = true;

 private:
  void Meet(const FileCall& call) {
    m_fault = isHealthy || m_next >= m_faults.size() ? 0 : m_faults[m_next++] & 3;
    if (call.kind == FileCall::Kind::kAppend) {
      if (m_fault == 1 || m_fault == 2) return;
      written.append(call.argument).append("\n");
      longest = std::max(longest, call.argument.size() + 1);
      return;
    }
    if (m_fault == 1 || m_fault == 2) wereMovesFine = false;
    if (m_fault == 1 || m_fault == 2 || call.kind == FileCall::Kind::kRename) return;
    const auto content = files.Content(call.path).value_or("");
    removed += content.size();
    Check(content.empty() || !wereMovesFine || call.path == m_oldest, "the oldest file goes");
  }

  const std::string m_faults;
  const std::string m_oldest;
  std::size_t m_next = 0;
  int m_fault = 0;
};

/// One log from its first line to its end.
class Life {
 public:
  explicit Life(Input& input)
      : m_input(input),
        m_count(static_cast<std::int32_t>(input.Choice(5))),
        m_limit(input.Byte() * 4),
        m_disk(input.Text(), Name(m_count - 1)) {
    m_log->SetRotation(m_limit, m_count);
    m_log->SetMaxQueueSize(input.Byte() * 8 - 100);
    m_log->SetConsoleEcho(input.Coin());
    m_sync.eitherWaits.Give(WaitResult::kFailed, static_cast<int>(input.Choice(3)));
    m_sync.mutexWaits.Give(WaitResult::kFailed, static_cast<int>(input.Choice(3)));
    m_areWaitsFine = m_sync.eitherWaits.waitsLeft + m_sync.mutexWaits.waitsLeft == 0;
  }

  void Run() {
    while (!m_input.AtEnd()) Step();
    m_sync.eitherWaits.waitsLeft = m_sync.mutexWaits.waitsLeft = 0;
    m_sync.refusesThreads = false;
    for (int i = 0; i < 3; ++i) Write("last");  // The first two may find a writer that just fails.
    Flush();
    Check(m_log->Flush() == 0, "a log that is well again is flushed");
    m_log.reset();
    m_sync.WaitForThreads();
    CheckLines();
    CheckFiles();
  }

 private:
  static std::string Name(std::int32_t generation) {
    return generation > 0 ? "t" + std::to_string(generation) + ".log" : "t.log";
  }

  void Step() {
    switch (m_input.Choice(8)) {
      case 0:
        return Flush();
      case 1:
        return m_log->SetLevel(static_cast<std::int32_t>(m_input.Choice(4)));
      case 2:
        m_sync.refusesThreads = m_input.Coin();
        return;
      case 3:
        return Log(m_input.Choice(4), Text());
      default:
        return Write(Text());
    }
  }

  // Long ones too, so that the message of a record is cut.
  std::string Text() {
    const int times = m_input.Choice(8) == 7 ? 300 : 1;
    const std::string text = m_input.Text();
    std::string all;
    for (int i = 0; i < times && all.size() < 20000; ++i) all += text;
    return all;
  }

  void Write(const std::string& text) {
    m_lines.push_back(Stamp("").append(text));
    m_log->Write(text);
  }

  void Log(unsigned level, const std::string& text) {
    if (static_cast<std::int32_t>(level) <= m_log->GetLevel()) {
      const auto cut = text.substr(0, std::min<std::size_t>(text.find('\0'), 8192));
      m_lines.push_back(Stamp("W ").append(cut).append(" (F - 7)"));
    }
    m_log->LogWarning(static_cast<std::int32_t>(level), kPlainTextMessage, "F", 7, text.c_str());
  }

  std::string Stamp(std::string_view mark) const {
    return std::string(RecordStamp(m_surroundings.Now(), m_sync.CurrentThreadId(), mark).View());
  }

  // While no file can be opened a flush may wait for the next line, so all goes well meanwhile.
  void Flush() {
    m_disk.isHealthy = true;
    const auto result = m_log->Flush();
    Check(result == 0 || !m_areWaitsFine, "a flush succeeds");
    m_disk.isHealthy = false;
  }

  void CheckLines() const {
    std::vector<std::string> tried;
    for (const auto& call : m_disk.files.Calls())
      if (call.kind == FileCall::Kind::kAppend && !call.argument.starts_with("-----"))
        tried.push_back(call.argument);
    Check(tried == m_lines, "each line is tried once, whole and in order");
  }

  void CheckFiles() const {
    std::size_t kept = 0;
    std::size_t place = 0;
    for (std::int32_t i = std::max(m_count - 1, 0); i >= 0; --i) {
      const auto content = m_disk.files.Content(Name(i)).value_or("");
      place = m_disk.written.find(content, place);
      Check(place != std::string::npos, "a file is a piece of what was written, behind the older");
      Check(content.empty() || content.back() == '\n', "a file ends with a whole line");
      Check(m_count < 2 || !m_disk.wereMovesFine ||
                content.size() <= static_cast<std::size_t>(m_limit) + m_disk.longest,
            "a file is no longer than its limit and a line");
      place += content.size();
      kept += content.size();
    }
    Check(kept + m_disk.removed == m_disk.written.size(), "no record is lost or there twice");
  }

  Input& m_input;
  const std::int32_t m_count;
  const std::int32_t m_limit;
  bool m_areWaitsFine = true;
  std::vector<std::string> m_lines;
  test::ScriptedStringTable m_strings;
  test::ScriptedSurroundings m_surroundings;
  Disk m_disk;
  test::ScriptedSynchronisation m_sync;  // Waits for the writer, which uses the others.
  const Platform m_platform{SystemPlatform().text, m_strings, m_sync, m_surroundings, m_disk.files};
  std::unique_ptr<QNLogger> m_log = std::make_unique<QNLogger>("t.log", 4, m_platform);
};

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlk::fuzz::Input input(data, size);
  tlk::fuzz::Life(input).Run();
  return 0;
}
