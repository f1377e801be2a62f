#include "tools/tlk/console/Console.h"

#include <utility>

#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/Printable.h"
#include "tools/tlk/StandardInput.h"

namespace tlk {
namespace {

/// On Windows what is printed has one more carriage return at each line end.
std::string UndoTextMode(std::string text) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "\r\n") != 0) text[kept++] = text[i];
  }
  text.resize(kept);
  return text;
}

}  // namespace

Console::Console(bool showEscapes) : m_showsTexts(!showEscapes && OwnOutput::Get().IsTerminal()) {
  if (!OwnOutput::Get().ErrorsGoToTerminal()) return;
  m_library.emplace();
  m_shower = std::thread([this] { ShowLibraryOutput(); });
}

Console::~Console() {
  if (!m_library) return;
  m_library->End();
  m_shower.join();
}

void Console::Print(std::string_view line) {
  const std::lock_guard lock(m_mutex);
  TakeLibraryOutput();
  Above([&] { OwnOutput::Get().Line(m_showsTexts ? ShowQuoted(line) : std::string(line)); });
}

void Console::Run(CommandSession& session, const LineEditor::Wait& wait, LineReader::More more) {
  if (IsConversation()) {
    RunTyped(session, wait);
  } else {
    RunStandardInput(std::move(more), session);
  }
}

void Console::RunTyped(CommandSession& session, const LineEditor::Wait& wait) {
  {
    const std::lock_guard lock(m_mutex);
    // The lock is held wherever the editor is at work, and not while it waits.
    m_editor.emplace(
        [this, &wait] {
          m_mutex.unlock();
          const bool isWanted = wait();
          m_mutex.lock();
          return isWanted;
        },
        [forms = session.Forms()](std::string_view before) { return Complete(forms, before); });
  }
  std::u16string line;
  while (!session.Ended() && ReadTyped(line)) session.RunTyped(line);
  const std::lock_guard lock(m_mutex);
  m_editor.reset();
}

bool Console::ReadTyped(std::u16string& line) {
  const std::lock_guard lock(m_mutex);
  TakeLibraryOutput();
  return m_editor->Read(line);
}

void Console::ShowLibraryOutput() {
  for (bool goesOn = true; goesOn;) {
    m_library->Wait();
    const std::lock_guard lock(m_mutex);
    goesOn = TakeLibraryOutput();
  }
}

bool Console::TakeLibraryOutput() {
  constexpr std::size_t kLongestLine = 1U << 20U;
  if (!m_library) return false;
  const bool goesOn = m_library->Take(m_printed);
  const bool isAll = !goesOn || m_printed.size() > kLongestLine;
  const std::size_t size = isAll ? m_printed.size() : m_printed.rfind('\n') + 1;
  if (size == 0) return goesOn;
  const std::string text = Printable(UndoTextMode(m_printed.substr(0, size)), Layout::kManyLines);
  m_printed.erase(0, size);
  Above([&] { OwnOutput::Get().ErrorText(text); });
  return goesOn;
}

template <typename Show>
void Console::Above(Show show) {
  if (m_editor) m_editor->Hide();
  show();
  if (m_editor) m_editor->Show();
}

}  // namespace tlk
