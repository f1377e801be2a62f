#include "tools/tlk/log/Following.h"

#include <optional>
#include <utility>

namespace tlk::log {
namespace {

// A record whose end has not come by then has none: records are written whole.
constexpr int kPatientLooks = 5;

void GiveAll(RecordReader& reader, const std::function<void(const Record&)>& take) {
  Record record;
  while (reader.Next(record)) take(record);
}

}  // namespace

void BlockReader::ReadOn(const LogFile& file, std::uint64_t& offset, RecordReader& reader,
                         const std::function<void(const Record&)>& take) {
  while (const std::size_t count = file.ReadAt(offset, m_block)) {
    offset += count;
    reader.Append({m_block.data(), count});
    GiveAll(reader, take);
  }
}

Following::Following(Generations generations, Listener listener)
    : m_generations(std::move(generations)), m_listener(std::move(listener)) {}

bool Following::Look() {
  FindNewer();
  bool hasRead = false;
  while (!m_files.empty()) {
    hasRead = ReadFront() || hasRead;
    if (m_files.size() == 1) break;
    // Who had the file open when it was moved may still write to it, so it is looked at once more,
    // unless it was moved long ago.
    m_isLastLook = !m_isLastLook && m_files.size() == 2;
    if (m_isLastLook) break;
    EndFront();
  }
  RestIfIdle(!hasRead);
  return hasRead;
}

void Following::FindNewer() {
  const auto current = m_generations.OpenCurrent();
  if (m_hasStarted &&
      (!current || (!m_files.empty() && current->Id() == m_files.back().file->Id()))) {
    return;
  }
  std::optional<FileId> known;
  if (!m_files.empty()) known = m_files.back().file->Id();
  bool isFound = false;
  auto newer = m_generations.OpenNewer(known, isFound);
  if (known && !isFound && !newer.empty()) {
    m_listener.remark("records may be missing here: the file that was read last is gone");
  }
  for (auto& file : newer) m_files.push_back({std::move(file)});
  m_hasStarted = true;
}

bool Following::ReadFront() {
  Followed& front = m_files.front();
  const std::uint64_t before = front.offset;
  m_blocks->ReadOn(*front.file, front.offset, m_reader, m_listener.record);
  if (front.file->Size() < front.offset) {
    m_listener.remark("the file has become shorter and is read from its beginning");
    m_reader.End();
    GiveAll(m_reader, m_listener.record);
    front.offset = 0;
    return true;
  }
  return front.offset != before;
}

void Following::EndFront() {
  m_files.pop_front();
  m_isLastLook = false;
  m_reader.End();
  GiveAll(m_reader, m_listener.record);
}

void Following::RestIfIdle(bool isIdle) {
  m_idleLooks = isIdle ? m_idleLooks + 1 : 0;
  if (m_idleLooks != kPatientLooks || !m_reader.HoldsLines()) return;
  m_reader.End();
  GiveAll(m_reader, m_listener.record);
}

}  // namespace tlk::log
