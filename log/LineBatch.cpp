#include "log/LineBatch.h"

#include <cstring>

namespace tlk {

namespace {

// Room beyond this, which a single line or a queue far over its limit has taken, is given back.
constexpr std::size_t kKeptRoom = std::size_t{1} << 20;

using Length = std::size_t;

std::string_view Stored(const Length& length) {
  return {reinterpret_cast<const char*>(&length), sizeof length};
}

}  // namespace

std::size_t LineBatch::PushBack(std::initializer_list<std::string_view> pieces) {
  Length length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  m_bytes.reserve(m_bytes.size() + sizeof length + length);  // Whatever fails, fails here.
  m_bytes.append(Stored(length));
  for (const std::string_view piece : pieces) m_bytes.append(piece);
  return length;
}

void LineBatch::PushBack(const LineBatch& lines) { m_bytes.append(lines.m_bytes, lines.m_start); }

void LineBatch::PushFront(std::string_view line) {
  LineBatch longer;
  longer.PushBack({line});
  m_bytes.insert(m_start, longer.m_bytes);
}

std::string_view LineBatch::Front() const {
  Length length = 0;
  const char* const stored = m_bytes.data() + m_start;
  std::memcpy(&length, stored, sizeof length);
  return {stored + sizeof length, length};
}

void LineBatch::PopFront() {
  m_start += sizeof(Length) + Front().size();
  if (!IsEmpty()) return;
  m_start = 0;
  m_bytes.clear();
  if (m_bytes.capacity() > kKeptRoom) m_bytes.shrink_to_fit();
}

}  // namespace tlk
