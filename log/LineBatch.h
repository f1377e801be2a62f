#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace tlk {

/// Lines one behind the other, in one piece of memory that stays for the next ones. Used by one
/// thread at a time.
class LineBatch {
 public:
  [[nodiscard]] bool IsEmpty() const { return m_start == m_end; }

  /// Adds a line put together from its pieces; returns its length.
  std::size_t PushBack(std::initializer_list<std::string_view> pieces);

  /// Adds all lines of another batch.
  void PushBack(const LineBatch& lines);

  void PushFront(std::string_view line);

  /// The first line, good until the batch is changed. There must be one.
  [[nodiscard]] std::string_view Front() const;
  void PopFront();

 private:
  [[nodiscard]] char* MakeRoom(std::size_t size);

  /// Has the processor fetch memory for lines to come, before so many bytes are added. Another one
  /// has read what was there, and a line that had to wait for it would cost twice the time.
  void FetchAhead(std::size_t size) const;

  std::vector<char> m_room;  // Each line follows its length.
  std::size_t m_start = 0;
  std::size_t m_end = 0;
};

}  // namespace tlk
