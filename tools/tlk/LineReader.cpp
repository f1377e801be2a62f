#include "tools/tlk/LineReader.h"

#include <algorithm>
#include <utility>

namespace tlk {

LineReader::LineReader(More more) : m_more(std::move(more)) {}

bool LineReader::Next(std::string& line) {
  while (true) {
    const std::size_t end = m_bytes.find('\n', m_searched);
    if (end != std::string::npos) {
      Take(end, line);
      return true;
    }
    m_bytes.erase(0, m_start);
    m_start = 0;
    m_searched = m_bytes.size();
    if (!m_more(m_bytes)) break;
  }
  if (m_bytes.empty()) return false;
  Take(m_bytes.size(), line);
  return true;
}

void LineReader::Take(std::size_t end, std::string& line) {
  line.assign(m_bytes, m_start, end - m_start);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  m_start = m_searched = std::min(end + 1, m_bytes.size());
}

}  // namespace tlk
