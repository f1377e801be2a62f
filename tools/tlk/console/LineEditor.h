#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tools/tlk/console/Completion.h"

namespace tlk {

/// The line that somebody types at the terminal: it can be edited, the lines before can be called
/// back, and what is printed meanwhile comes above it. There is one at a time. One thread at a time
/// uses it; while it waits for a key, another may hide and show the line.
///
/// The terminal neither echoes nor collects lines as long as this lives, also while no line is
/// read: what is typed then waits for the next `Read`. Its state is restored with the end of this
/// and of the program, by a signal too.
class LineEditor {
 public:
  /// Waits until a key can be read; false when no line is wanted any more.
  using Wait = std::function<bool()>;

  /// Completes the text before the cursor.
  using Completer = std::function<Completion(std::string_view before)>;

  LineEditor(Wait wait, Completer complete);
  ~LineEditor();

  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// Gives the next line without its end; false when there is none.
  bool Read(std::u16string& line);

  /// Take the line that is being typed off the screen, if there is one, and put it there again
  /// below what was printed in between.
  void Hide();
  void Show();

 private:
  struct State;
  const std::unique_ptr<State> m_state;
};

}  // namespace tlk
