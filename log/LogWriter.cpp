#include "log/LogWriter.h"

#include <new>
#include <utility>

#include "log/LogLock.h"
#include "log/QNManageMutex.h"
#include "platform/Files.h"
#include "platform/StandardOutput.h"
#include "platform/Surroundings.h"

namespace tlk {

namespace {

constexpr std::string_view kOverflowLine =
    "---------------------------- max logger queue size ----------------------------";
constexpr std::string_view kClearedLine =
    "---------------------------- logger queue cleared ----------------------------";

void Call(const ThreadHook& hook) {
  if (hook.function != nullptr) hook.function(hook.context, "System", "WriteLog");
}

// Takes a step that may ask for memory; false when it got none. Nobody who logs, and no writer,
// ends by that: only what the step was for is lost.
template <typename Step>
bool IsTaken(Step step) noexcept {
  try {
    step();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

// How those who queue lines, those who flush and the writer thread meet. The states between them:
//
// Started: there is a writer thread that will look at the queue once more. `Start` says so, under
// the start guard. A writer that ends on request takes it back under the same guard and then writes
// what is queued: a line that comes later finds no writer and starts the next one. A writer whose
// wait fails takes it back as well, and leaves what is queued.
//
// Failed: the writer that was started last has ended because its wait failed. The line at hand does
// not start another, or a producer might do so for ever; the next line does. A flush tells of it.
//
// Asked: the work event is set, or just being set, and has not woken the writer yet. A producer who
// finds it so need not set the event. The writer takes this back before it looks at the queue: who
// still found it so had queued his line before that.
//
// Flushes: how many threads wait for the drained event, which a pass sets when it has found the
// queue empty. The event lets one of them go, who asks for another pass while others wait.
//
// Throttled: the room event is not set, and producers wait for it before they queue. Only the
// writer changes this: it begins when more bytes wait than the limit allows and ends below half of
// them. Until then the writer goes on by itself, for nobody comes to ask it.

LogWriter::LogWriter(std::string_view fileName, const Platform& platform,
                     std::shared_ptr<LogSettings> shared)
    : settings(*shared),
      m_platform(platform),
      m_queue(LogQueue::OfProcess()),
      m_settings(std::move(shared)),
      m_isUsable(MakeParts()),
      m_place{"", std::string(fileName), platform.surroundings.PathSeparator()} {}

std::shared_ptr<LogWriter> LogWriter::Successor() const {
  return std::make_shared<LogWriter>(m_place.fileName, m_platform, m_settings);
}

void LogWriter::GiveUp() {
  m_isUsable = false;
  m_isStarted = false;
}

bool LogWriter::MakeParts() {
  m_lock = m_platform.synchronisation.NewMutex();
  if (m_lock == nullptr) {
    PrintOnStandardOutput("Unable to create mutex - QNLogger\n");
    return false;
  }
  const struct {
    std::unique_ptr<SystemEvent>& event;
    ResetMode mode;
    bool isSignalled;
    const char* refused;
  } parts[] = {
      {m_work, ResetMode::kAutomatic, false, "Unable to create event 1 - QNLogger\n"},
      {m_stop, ResetMode::kAutomatic, false, "Unable to create event 2 - QNLogger\n"},
      {m_drained, ResetMode::kAutomatic, false, "Unable to create event 3 - QNLogger\n"},
      {m_room, ResetMode::kManual, true, "Unable to create event 4 - QNLogger\n"},
  };
  for (const auto& part : parts) {
    part.event = m_platform.synchronisation.NewEvent(part.mode, part.isSignalled);
    if (part.event == nullptr) {
      PrintOnStandardOutput(part.refused);
      return false;
    }
  }
  return true;
}

void LogWriter::Queue(std::initializer_list<std::string_view> pieces) {
  if (!m_isUsable) return;
  EnsureStarted();
  if (m_isThrottled) (void)m_room->Wait(kNoLimit);
  if (!IsTaken([&] { QueueLine(pieces); })) {
    PrintOnStandardOutput("Unable to queue a line - QNLogger\n");
    return;
  }
  if (!m_hasFailed) EnsureStarted();  // Once more: the writer may have ended on request since.
  AskForPass();  // Outside the lock: the writer, if it sleeps, wakes to take it.
}

void LogWriter::QueueLine(std::initializer_list<std::string_view> pieces) {
  std::uint32_t status = 0;
  const QNManageMutex guard(m_lock.get(), status, nullptr, m_platform);
  m_queue->PushBack(pieces, m_gauge);
}

void LogWriter::AskForPass() {
  if (m_isAsked) return;
  m_isAsked = true;
  m_work->Set();
}

// Guarded, so that there is one writer: a second would never hear the one stop.
void LogWriter::Start() {
  const std::lock_guard guard(m_startGuard);
  if (m_isStarted) return;
  std::unique_ptr<SystemThread> thread;
  const auto make = [&] {
    thread = m_platform.synchronisation.NewThread([self = shared_from_this()] { self->Run(); });
  };
  if (!IsTaken(make) || thread == nullptr) return;
  m_thread = std::move(thread);
  m_hasFailed = false;
  m_isStarted = true;
  m_thread->Resume();
}

std::uint32_t LogWriter::Flush(std::uint32_t milliseconds) {
  if (!m_isStarted) return 0;
  {
    const LogLock lock(m_lock.get());
    if (lock.Result() != WaitResult::kSignalled) return static_cast<std::uint32_t>(lock.Result());
  }
  ++m_flushes;
  m_drained->Reset();
  m_work->Set();
  // A writer that ended on request has written everything.
  const WaitResult result = m_isStarted ? m_drained->Wait(milliseconds) : WaitResult::kSignalled;
  // The event lets one waiter go; with others waiting, the writer is asked for another pass.
  if (--m_flushes > 0) (m_isStarted ? m_work : m_drained)->Set();
  return static_cast<std::uint32_t>(m_hasFailed ? WaitResult::kFailed : result);
}

void LogWriter::Rest(std::uint32_t milliseconds) {
  std::unique_ptr<SystemThread> thread;
  {
    const std::lock_guard guard(m_startGuard);
    thread = std::move(m_thread);
  }
  (void)Flush(milliseconds);
  if (Stop() && thread != nullptr) (void)thread->Wait(milliseconds);
}

bool LogWriter::Stop() {
  const bool isHeard = m_isStarted;
  if (isHeard) m_stop->Set();
  return isHeard;
}

void LogWriter::Run() {
  Call(settings.StartHook());
  for (;;) {
    const WaitResult result = m_platform.synchronisation.WaitEither(*m_work, *m_stop, kNoLimit);
    if (result == WaitResult::kSecondSignalled) break;
    if (result != WaitResult::kSignalled) return EndByFailure();
    m_isAsked = false;
    Drain();
  }
  EndOnRequest();
  Call(settings.EndHook());
}

// Who queued a line and still found the writer started has it written by this pass; who did not
// starts another writer, which the guard holds back until this pass is over.
void LogWriter::EndOnRequest() {
  const std::lock_guard guard(m_startGuard);
  m_isStarted = false;
  Drain();
}

// The next line starts a new writer, and whoever waits for this one is let go.
void LogWriter::EndByFailure() {
  m_hasFailed = true;
  m_isStarted = false;
  m_drained->Set();
}

// A pass that could not go on leaves its lines for the next one, which the next producer asks for;
// while producers are held back, the writer makes the next one itself.
void LogWriter::Drain() {
  do {
    SettleThrottle(RunPass());
  } while (m_isThrottled);
  // What cannot be given back is written by the next pass of this writer.
  if (!m_taken.IsEmpty()) (void)IsTaken([this] { m_queue->GiveBack(m_taken); });
}

bool LogWriter::RunPass() {
  bool isOverflowMarked = false;
  while (HasLine()) {
    MarkThrottle(isOverflowMarked);
    const std::string_view line = m_taken.Front();
    m_gauge.Take(line.size());
    const bool isOpened = WriteLine(line);
    m_taken.PopFront();
    if (!isOpened) return false;
  }
  return true;
}

// The lines are taken all at once, so that the writer hardly ever meets a producer at the lock.
//
// The drained event is set under the lock: a flush that has come after the last line was taken must
// not be let go by a pass from before its own lines.
bool LogWriter::HasLine() {
  if (!m_taken.IsEmpty()) return true;
  const LogLock lock(m_lock.get());
  if (!lock.IsHeld()) return false;
  m_queue->TakeAll(m_taken, m_gauge, settings.maxQueueSize);
  if (m_taken.IsEmpty()) m_drained->Set();
  return !m_taken.IsEmpty();
}

void LogWriter::MarkThrottle(bool& isOverflowMarked) {
  const std::int32_t limit = settings.maxQueueSize;
  if (!isOverflowMarked && m_gauge.MayExceed(limit) && m_gauge.Waiting() > limit) {
    m_room->Reset();
    m_isThrottled = true;
    isOverflowMarked = true;
    (void)IsTaken([this] { m_taken.PushFront(kOverflowLine); });
  }
  if (isOverflowMarked && IsBelowHalf()) {
    (void)IsTaken([this] { m_taken.PushFront(kClearedLine); });
    isOverflowMarked = false;
    OpenThrottle();
  }
}

// Usually a pass has opened the throttle while it wrote. It has not when the writer of another log
// took lines that still count as ours.
void LogWriter::SettleThrottle(bool isFileOpened) {
  if (m_isThrottled && (isFileOpened || IsBelowHalf())) OpenThrottle();
}

bool LogWriter::IsBelowHalf() const { return m_gauge.Waiting() < settings.maxQueueSize / 2; }

void LogWriter::OpenThrottle() {
  m_isThrottled = false;
  m_room->Set();
}

// The version is read first: a directory that is set in between is then looked at again.
void LogWriter::FindPath() {
  const std::uint32_t version = settings.DirectoryVersion();
  if (version == m_pathVersion) return;
  m_place.directory = settings.Directory();
  PathInPlace(m_place, m_place.fileName, m_path);
  m_pathVersion = version;
}

bool LogWriter::WriteLine(std::string_view line) {
  if (!IsTaken([this] { FindPath(); })) {
    PrintOnStandardOutput("Unable to find the log's place - QNLogger\n");
    return false;
  }
  const std::int64_t size = m_platform.files.AppendLine(m_path, line);
  if (size == append_result::kNotOpened) {
    Show({"Unable to open ", m_path});
    return false;
  }
  KeepSize(size);
  if (settings.consoleEcho) Echo(line);
  return true;
}

void LogWriter::KeepSize(std::int64_t size) {
  const bool isWritten = size != append_result::kNotWritten;
  if (!isWritten && !m_isFullAnnounced) Show({"Unable to write ", m_path});
  m_isFullAnnounced = !isWritten;
  if (isWritten && size > settings.maxFileSize) (void)IsTaken([this] { Rotate(); });
}

// A rotation that stops in the middle is taken up with the next line.
void LogWriter::Rotate() {
  Files& files = m_platform.files;
  const bool isDone = files.RotateAlone(m_path, settings.maxFileSize, [this, &files] {
    const bool isMoved = RotateFiles(files, m_place, settings.fileCount);
    if (isMoved) m_isStuckAnnounced = false;
    return isMoved;
  });
  if (isDone || m_isStuckAnnounced) return;
  Show({"Unable to rotate ", m_path});
  m_isStuckAnnounced = true;
}

// Without the time, which a console does not need; a marker line has nothing to show.
void LogWriter::Echo(std::string_view line) {
  const std::size_t start = line.find('(');
  if (start != std::string_view::npos) Show({line.substr(start)});
}

void LogWriter::Show(std::initializer_list<std::string_view> pieces) {
  const auto showWhole = [&] {
    m_shown.clear();
    for (const std::string_view piece : pieces) m_shown += piece;
    m_shown += '\n';
    PrintOnStandardOutput(m_shown);
  };
  (void)IsTaken(showWhole);
}

}  // namespace tlk
