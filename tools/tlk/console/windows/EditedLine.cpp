#include "tools/tlk/console/windows/EditedLine.h"

#include <utility>

namespace tlk {
namespace {

constexpr std::size_t kMostRemembered = 1000;

bool IsSecondOfPair(char16_t unit) { return (unit & 0xFC00U) == 0xDC00U; }

}  // namespace

void EditedLine::Insert(std::u16string_view text) {
  m_text = m_text.substr(0, m_cursor).append(text).append(m_text, m_cursor);
  m_cursor += text.size();
}

void EditedLine::DeleteBefore() {
  const std::size_t end = m_cursor;
  GoLeft();
  m_text.erase(m_cursor, end - m_cursor);
}

void EditedLine::DeleteBehind() {
  const std::size_t begin = m_cursor;
  GoRight();
  m_text.erase(begin, m_cursor - begin);
  m_cursor = begin;
}

void EditedLine::GoLeft() {
  if (m_cursor > 0) --m_cursor;
  if (m_cursor > 0 && IsSecondOfPair(m_text[m_cursor])) --m_cursor;
}

void EditedLine::GoRight() {
  if (m_cursor < m_text.size()) ++m_cursor;
  if (m_cursor < m_text.size() && IsSecondOfPair(m_text[m_cursor])) ++m_cursor;
}

void EditedLine::CallEarlier() {
  if (m_place > 0) Call(m_place - 1);
}

void EditedLine::CallLater() {
  if (m_place < m_earlier.size()) Call(m_place + 1);
}

std::u16string EditedLine::Finish() {
  std::u16string line = std::exchange(m_text, {});
  const bool isNew = m_earlier.empty() || m_earlier.back() != line;
  if (!line.empty() && isNew) m_earlier.push_back(line);
  if (m_earlier.size() > kMostRemembered) m_earlier.erase(m_earlier.begin());
  m_cursor = 0;
  m_place = m_earlier.size();
  return line;
}

void EditedLine::Replace(std::u16string text) {
  m_text = std::move(text);
  GoToEnd();
}

void EditedLine::Call(std::size_t place) {
  if (m_place == m_earlier.size()) m_typed = m_text;
  m_place = place;
  Replace(place == m_earlier.size() ? m_typed : m_earlier[place]);
}

}  // namespace tlk
