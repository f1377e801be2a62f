#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "tools/tlk/CommandSession.h"
#include "tools/tlk/console/LibraryOutput.h"
#include "tools/tlk/console/LineEditor.h"

namespace tlk {

/// Shows what a session prints, and what the libraries print beneath it, and reads its lines.
///
/// At a terminal somebody types with a line editor, and all that is shown comes above his line;
/// texts are shown as such. What the libraries print for a terminal passes through here and is made
/// fit for it. Whatever is no terminal gets what it got, byte by byte.
class Console {
 public:
  /// `showEscapes`: whether a terminal is shown texts as a pipe is.
  explicit Console(bool showEscapes);
  ~Console();

  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Prints a line of the session. One thread at a time.
  void Print(std::string_view line);

  /// Runs what standard input holds on a session until either ends. `wait` waits until standard
  /// input can be read, and is false when that is not wanted any more; `more` reads it.
  void Run(CommandSession& session, const LineEditor::Wait& wait, LineReader::More more);

 private:
  void RunTyped(CommandSession& session, const LineEditor::Wait& wait);
  bool ReadTyped(std::u16string& line);
  void ShowLibraryOutput();
  bool TakeLibraryOutput();

  /// Shows something with the line that is being typed out of its way.
  template <typename Show>
  void Above(Show show);

  const bool m_showsTexts;
  std::mutex m_mutex;  ///< Of all below, and of the terminal.
  std::optional<LineEditor> m_editor;
  std::optional<LibraryOutput> m_library;
  std::string m_printed;  ///< By the libraries, not yet shown: a line without an end.
  std::thread m_shower;
};

}  // namespace tlk
