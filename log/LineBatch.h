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

  /// Has the processor fetch the memory of lines to come, as many bytes as the line at hand takes.
  /// The writer's processor has read what was there before, and a producer that had to wait for
  /// that memory would take twice the time.
  void FetchAhead(std::size_t size) const;

  std::vector<char> m_room;  // Each line follows its length.
  std::size_t m_start = 0;
  std::size_t m_end = 0;
};

}  // namespace tlk
