#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tlk {

/// A line that is being edited, and those before it, which can be called back.
class EditedLine {
 public:
  [[nodiscard]] const std::u16string& Text() const { return m_text; }
  [[nodiscard]] std::u16string_view BeforeCursor() const {
    return std::u16string_view(m_text).substr(0, m_cursor);
  }

  /// At the cursor, which goes on behind it.
  void Insert(std::u16string_view text);
  void DeleteBefore();
  void DeleteBehind();
  void Clear() { Replace({}); }

  void GoLeft();
  void GoRight();
  void GoToBegin() { m_cursor = 0; }
  void GoToEnd() { m_cursor = m_text.size(); }

  /// Call back the line before or behind the one that is shown; what was being typed is kept.
  void CallEarlier();
  void CallLater();

  /// Gives the line away, to be remembered, and begins the next.
  [[nodiscard]] std::u16string Finish();

 private:
  void Replace(std::u16string text);
  void Call(std::size_t place);

  std::u16string m_text;
  std::size_t m_cursor = 0;
  std::vector<std::u16string> m_earlier;  ///< The oldest first.
  std::size_t m_place = 0;                ///< Of the line that is shown, the one being typed last.
  std::u16string m_typed;                 ///< That one, while another is shown.
};

}  // namespace tlk
