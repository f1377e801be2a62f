#include "log/QNLogger.h"

#include <exception>
#include <utility>
#include <vector>

#include "log/LogLock.h"
#include "log/LogScan.h"
#include "log/LogWriter.h"
#include "log/RecordFormat.h"
#include "platform/StandardOutput.h"
#include "platform/Surroundings.h"

namespace tlk {

namespace {

constexpr std::uint32_t kGraceMilliseconds = 1000;

// The line list of the process. Nothing adds to it.
const LineList& ProcessLineList() {
  static const LineList lines;
  return lines;
}

}  // namespace

QNLogger::QNLogger(std::string_view fileName, const std::int32_t& threshold,
                   const Platform& platform)
    : m_platform(platform),
      m_threshold(threshold),
      m_writer(std::make_shared<LogWriter>(fileName, platform)),
      m_inChild([this] { GoOnInChild(); }) {}

QNLogger::~QNLogger() {
  if (m_writer->Stop()) m_platform.surroundings.Sleep(kGraceMilliseconds);
}

// The writers of parents are kept in reach, so that they do not count as lost memory.
void QNLogger::GoOnInChild() {
  try {
    static auto& left = *new std::vector<std::shared_ptr<LogWriter>>;
    left.push_back(m_writer);
    m_writer = m_writer->Successor();
  } catch (const std::exception&) {
    PrintOnStandardOutput("Unable to go on in a forked process - QNLogger\n");
    m_writer->GiveUp();
  }
}

bool QNLogger::SetThreadStartHook(Hook hook, void* context) {
  m_writer->settings.SetStartHook({hook, context});
  return true;
}

bool QNLogger::SetThreadEndHook(Hook hook, void* context) {
  m_writer->settings.SetEndHook({hook, context});
  return true;
}

std::string QNLogger::GetDirectory() const { return m_writer->settings.Directory(); }

void QNLogger::SetDirectory(const std::string& directory) {
  m_writer->settings.SetDirectory(directory);
}

void QNLogger::KeepDirectory(const std::string& directory) {
  m_writer->settings.KeepDirectory(directory);
}

void QNLogger::SetMaxQueueSize(std::int32_t bytes) { m_writer->settings.maxQueueSize = bytes; }

std::int32_t QNLogger::GetMaxQueueSize() const { return m_writer->settings.maxQueueSize; }

void QNLogger::SetLevel(const std::int32_t& level) { m_threshold = level; }

std::int32_t QNLogger::GetLevel() const { return m_threshold; }

void QNLogger::SetConsoleEcho(bool echo) { m_writer->settings.consoleEcho = echo; }

void QNLogger::SetRotation(const std::int32_t& maxFileSize, const std::int32_t& fileCount) {
  m_writer->settings.maxFileSize = maxFileSize;
  m_writer->settings.fileCount = fileCount;
}

void QNLogger::LogNormal(ModuleHandle module, std::int32_t level, std::uint32_t message,
                         const char* source, std::int32_t line, ...) {
  if (level > m_threshold) return;
  std::va_list values;
  va_start(values, line);
  WriteRecord({severity_mark::kNormal, module, message, source, line}, values);
  va_end(values);
}

void QNLogger::LogNormal(std::int32_t level, std::uint32_t message, const char* source,
                         std::int32_t line, ...) {
  if (level > m_threshold) return;
  std::va_list values;
  va_start(values, line);
  WriteRecord({severity_mark::kNormal, nullptr, message, source, line}, values);
  va_end(values);
}

void QNLogger::LogWarning(ModuleHandle module, std::int32_t level, std::uint32_t message,
                          const char* source, std::int32_t line, ...) {
  if (level > m_threshold) return;
  std::va_list values;
  va_start(values, line);
  WriteRecord({severity_mark::kWarning, module, message, source, line}, values);
  va_end(values);
}

void QNLogger::LogWarning(std::int32_t level, std::uint32_t message, const char* source,
                          std::int32_t line, ...) {
  if (level > m_threshold) return;
  std::va_list values;
  va_start(values, line);
  WriteRecord({severity_mark::kWarning, nullptr, message, source, line}, values);
  va_end(values);
}

void QNLogger::LogError(ModuleHandle module, std::int32_t level, std::uint32_t message,
                        const char* source, std::int32_t line, ...) {
  if (level > m_threshold) return;
  std::va_list values;
  va_start(values, line);
  WriteRecord({severity_mark::kError, module, message, source, line}, values);
  va_end(values);
}

void QNLogger::LogError(std::int32_t level, std::uint32_t message, const char* source,
                        std::int32_t line, ...) {
  if (level > m_threshold) return;
  std::va_list values;
  va_start(values, line);
  WriteRecord({severity_mark::kError, nullptr, message, source, line}, values);
  va_end(values);
}

void QNLogger::WriteRecord(const RecordHead& head, std::va_list values) {
  const MessageText message(m_platform.strings, head.module, head.message, values);
  const RecordStamp stamp = StampOfNow(head.mark);
  const SourceLine line(head.line);
  m_writer->Queue({stamp.View(), message.View(), " (", SourceName(head.source), line.View()});
}

void QNLogger::Write(std::string_view record) {
  const RecordStamp stamp = StampOfNow("");
  m_writer->Queue({stamp.View(), record});
}

RecordStamp QNLogger::StampOfNow(std::string_view mark) const {
  return {m_platform.surroundings.Now(), m_platform.synchronisation.CurrentThreadId(), mark};
}

std::uint32_t QNLogger::Flush() { return m_writer->Flush(kNoLimit); }

void QNLogger::Rest() { m_writer->Rest(kGraceMilliseconds); }

void QNLogger::CopyLineList(LineList& lines) {
  const LogLock lock(m_writer->Lock());
  const LineList& all = ProcessLineList();
  lines.insert(lines.end(), all.begin(), all.end());
}

void QNLogger::GetLineList(LineList& lines) {
  const LogLock lock(m_writer->Lock());
  lines = ProcessLineList();
}

std::string QNLogger::ScanPath(std::int32_t file) const {
  const LogLock lock(m_writer->Lock());
  const std::string name = file == 0 ? "quillon.log" : "quillon" + std::to_string(file) + ".log";
  return GetDirectory() + m_platform.surroundings.PathSeparator() + name;
}

// The lock is held for the path alone, so that nobody who logs waits for the disk. A rotation
// meanwhile does no harm: a file that has been opened stays the same when it is renamed.
std::int32_t QNLogger::ScanLog(const std::int32_t& file, LineList& lines) {
  return ScanLogFile(m_platform.files, ScanPath(file), lines);
}

}  // namespace tlk
