#include "log/LineBatch.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tlk {

namespace {

// An empty batch keeps no more memory than this. Only a very long line, or a queue far over its
// limit, needs more.
constexpr std::size_t kKeptRoom = std::size_t{1} << 20;

using Length = std::size_t;

// By the system's copy, which has fewer branches than a loop: pieces are short, and of any length.
char* Put(std::string_view piece, char* to) {
  if (!piece.empty()) std::memcpy(to, piece.data(), piece.size());
  return to + piece.size();
}

}  // namespace

std::size_t LineBatch::PushBack(std::initializer_list<std::string_view> pieces) {
  Length length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  char* const stored = MakeRoom(sizeof length + length);
  std::memcpy(stored, &length, sizeof length);
  char* end = stored + sizeof length;
  for (const std::string_view piece : pieces) end = Put(piece, end);
  FetchAhead(sizeof length + length);
  m_end += sizeof length + length;
  return length;
}

void LineBatch::FetchAhead(std::size_t size) const {
  constexpr std::size_t kAhead = 768;
  constexpr std::size_t kCacheLine = 64;
  if (m_room.size() - m_end < kAhead + size) return;
  const char* const ahead = m_room.data() + m_end + kAhead;
  for (std::size_t i = 0; i < size; i += kCacheLine) __builtin_prefetch(ahead + i, 1);
}

void LineBatch::PushBack(const LineBatch& lines) {
  const std::size_t size = lines.m_end - lines.m_start;
  std::copy_n(lines.m_room.data() + lines.m_start, size, MakeRoom(size));
  m_end += size;
}

void LineBatch::PushFront(std::string_view line) {
  LineBatch longer;
  longer.PushBack({line});
  longer.PushBack(*this);
  *this = std::move(longer);
}

std::string_view LineBatch::Front() const {
  Length length = 0;
  const char* const stored = m_room.data() + m_start;
  std::memcpy(&length, stored, sizeof length);
  return {stored + sizeof length, length};
}

void LineBatch::PopFront() {
  m_start += sizeof(Length) + Front().size();
  if (!IsEmpty()) return;
  m_start = m_end = 0;
  if (m_room.size() > kKeptRoom) m_room = {};
}

// Lines that were taken leave room in front. A batch that is never quite empty would grow for ever
// if that room were not used again. The other lines are moved there only when it is the larger
// part: then less is moved than has been taken.
char* LineBatch::MakeRoom(std::size_t size) {
  if (m_room.size() - m_end >= size) return m_room.data() + m_end;
  if (m_start > m_room.size() / 2) {
    std::copy(m_room.data() + m_start, m_room.data() + m_end, m_room.data());
    m_end -= std::exchange(m_start, 0);
  }
  if (m_room.size() - m_end < size) m_room.resize(std::max(m_end + size, 2 * m_room.size()));
  return m_room.data() + m_end;
}

}  // namespace tlk
