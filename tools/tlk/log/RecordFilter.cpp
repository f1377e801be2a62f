#include "tools/tlk/log/RecordFilter.h"

namespace tlk::log {

bool RecordFilter::Lets(const Record& record) {
  if (record.hasHead) m_time = record.head.time;
  return IsInTime() && (!m_wanted.errorsOnly || record.IsError()) && IsFromThere(record) &&
         record.text.find(m_wanted.text) != std::string_view::npos;
}

bool RecordFilter::IsInTime() const {
  if (m_wanted.since && (!m_time || *m_time < *m_wanted.since)) return false;
  return !m_wanted.until || !m_time || *m_time <= *m_wanted.until;
}

bool RecordFilter::IsFromThere(const Record& record) const {
  if (m_wanted.thread && (!record.hasHead || record.head.thread != *m_wanted.thread)) return false;
  if (!m_wanted.line) return true;
  return record.hasSource && record.source.line == *m_wanted.line &&
         (m_wanted.source.empty() || record.source.name == m_wanted.source);
}

}  // namespace tlk::log
