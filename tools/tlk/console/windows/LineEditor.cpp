#include "tools/tlk/console/LineEditor.h"

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/Utf8.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/console/windows/EditedLine.h"

namespace tlk {
namespace {

constexpr std::u16string_view kPrompt = u"> ";
constexpr char16_t kCtrlD = 0x04;
constexpr char16_t kCtrlZ = 0x1A;

struct EditingKey {
  WORD code;
  void (EditedLine::*press)();
};

constexpr EditingKey kEditingKeys[] = {
    {VK_LEFT, &EditedLine::GoLeft},       {VK_RIGHT, &EditedLine::GoRight},
    {VK_HOME, &EditedLine::GoToBegin},    {VK_END, &EditedLine::GoToEnd},
    {VK_BACK, &EditedLine::DeleteBefore}, {VK_DELETE, &EditedLine::DeleteBehind},
    {VK_UP, &EditedLine::CallEarlier},    {VK_DOWN, &EditedLine::CallLater},
    {VK_ESCAPE, &EditedLine::Clear},
};

HANDLE Input() { return GetStdHandle(STD_INPUT_HANDLE); }

DWORD modeBefore = 0;

void RestoreMode() { SetConsoleMode(Input(), modeBefore); }

BOOL WINAPI RestoreAtSignal(DWORD /*signal*/) {
  RestoreMode();
  return FALSE;
}

/// Keys are neither shown nor collected by the console, but Ctrl+C ends the program.
void TakeKeys() {
  GetConsoleMode(Input(), &modeBefore);
  static const int atExit = std::atexit(RestoreMode);
  static_cast<void>(atExit);
  SetConsoleCtrlHandler(RestoreAtSignal, TRUE);
  constexpr DWORD kCollecting = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
  SetConsoleMode(Input(), (modeBefore | ENABLE_PROCESSED_INPUT) & ~kCollecting);
  // Some systems take the keys over, and show them no more, only when somebody first looks.
  INPUT_RECORD none;
  DWORD count = 0;
  PeekConsoleInputW(Input(), &none, 1, &count);
}

bool IsWide(char16_t unit) {
  return (unit >= 0x1100 && unit <= 0x115F) || (unit >= 0x2E80 && unit <= 0xA4CF) ||
         (unit >= 0xAC00 && unit <= 0xD7A3) || (unit >= 0xF900 && unit <= 0xFAFF) ||
         (unit >= 0xFE30 && unit <= 0xFE6F) || (unit >= 0xFF00 && unit <= 0xFF60) ||
         (unit >= 0xFFE0 && unit <= 0xFFE6);
}

/// How many cells of the screen a text takes behind the prompt, the prompt included.
std::size_t CountCells(std::u16string_view text, std::size_t columns) {
  std::size_t cells = kPrompt.size();
  for (const char16_t unit : text) {
    const std::size_t width = IsWide(unit) ? 2 : 1;
    if (width == 2 && cells % columns == columns - 1) ++cells;
    cells += width;
  }
  return cells;
}

}  // namespace

struct LineEditor::State {
  State(Wait waitForKey, Completer completer)
      : wait(std::move(waitForKey)), complete(std::move(completer)) {}

  const Wait wait;
  const Completer complete;
  const HANDLE screen = reinterpret_cast<HANDLE>(_get_osfhandle(OwnOutput::Get().Descriptor()));
  EditedLine line;
  std::deque<INPUT_RECORD> events;  ///< Not looked at yet.
  bool isReading = false;
  bool isShown = false;
  std::u16string shown;  ///< The text, as it is shown.
  std::size_t shownColumns = 1;
  std::size_t cellsBefore = 0;  ///< The cursor, as it is shown.
  std::size_t cells = 0;

  [[nodiscard]] CONSOLE_SCREEN_BUFFER_INFO Screen() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    GetConsoleScreenBufferInfo(screen, &info);
    info.dwSize.X = std::max<SHORT>(info.dwSize.X, 1);
    return info;
  }

  /// Moves the cursor by that many rows, to that column.
  void Go(std::ptrdiff_t rows, std::size_t column) const {
    COORD place = Screen().dwCursorPosition;
    place.X = static_cast<SHORT>(column);
    place.Y = static_cast<SHORT>(std::max<std::ptrdiff_t>(place.Y + rows, 0));
    SetConsoleCursorPosition(screen, place);
  }

  void Hide() {
    if (!std::exchange(isShown, false)) return;
    Go(-static_cast<std::ptrdiff_t>(cellsBefore / shownColumns), 0);
    DWORD cleared = 0;
    FillConsoleOutputCharacterW(screen, L' ', static_cast<DWORD>(cells + 1),
                                Screen().dwCursorPosition, &cleared);
  }

  void Show() {
    if (!isReading) return;
    isShown = true;
    shownColumns = static_cast<std::size_t>(Screen().dwSize.X);
    cells = CountCells(line.Text(), shownColumns);
    cellsBefore = CountCells(line.BeforeCursor(), shownColumns);
    shown = line.Text();
    OwnOutput::Get().Text(ToUtf8(std::u16string(kPrompt) + line.Text()));
    const auto rows = static_cast<std::ptrdiff_t>(cellsBefore / shownColumns) -
                      static_cast<std::ptrdiff_t>(cells / shownColumns);
    Go(rows, cellsBefore % shownColumns);
  }

  /// Shows what has changed. What was added at the end is all that is written of a long line.
  void Refresh() {
    const bool isLonger = isShown && cellsBefore == cells && line.Text().starts_with(shown) &&
                          line.BeforeCursor().size() == line.Text().size();
    if (!isLonger) {
      Hide();
      Show();
      return;
    }
    OwnOutput::Get().Text(ToUtf8(std::u16string_view(line.Text()).substr(shown.size())));
    shown = line.Text();
    cells = cellsBefore = CountCells(shown, shownColumns);
  }

  enum class Outcome { kGoesOn, kFinished, kEnded };

  void CompleteWord() {
    const Completion completion = complete(ToUtf8(line.BeforeCursor()));
    line.Insert(ToUtf16(completion.rest));
    if (!completion.rest.empty() || completion.choices.empty()) return;
    std::string choices;
    for (const auto& choice : completion.choices) choices += choice + "  ";
    Hide();
    OwnOutput::Get().Line(choices);
  }

  Outcome PressOnce(const KEY_EVENT_RECORD& key) {
    const auto character = static_cast<char16_t>(key.uChar.UnicodeChar);
    const auto* const editing =
        std::find_if(std::begin(kEditingKeys), std::end(kEditingKeys),
                     [&](const EditingKey& known) { return known.code == key.wVirtualKeyCode; });
    if (editing != std::end(kEditingKeys)) {
      (line.*editing->press)();
    } else if (character == u'\r' || character == u'\n') {
      return Outcome::kFinished;
    } else if (character == u'\t') {
      CompleteWord();
    } else if ((character == kCtrlZ || character == kCtrlD) && line.Text().empty()) {
      return Outcome::kEnded;
    } else if (character >= u' ' && (character < 0x7F || character > 0x9F)) {
      line.Insert({&character, 1});
    }
    return Outcome::kGoesOn;
  }

  // A character that is made of the digits of its number comes as its key is let go.
  Outcome Press(const KEY_EVENT_RECORD& key) {
    const bool isMade = !key.bKeyDown && key.wVirtualKeyCode == VK_MENU;
    if (!key.bKeyDown && !(isMade && key.uChar.UnicodeChar != 0)) return Outcome::kGoesOn;
    Outcome outcome = Outcome::kGoesOn;
    for (int i = 0; i < std::max<int>(key.wRepeatCount, 1) && outcome == Outcome::kGoesOn; ++i) {
      outcome = PressOnce(key);
    }
    return outcome;
  }

  /// Takes the events that are there, without waiting; false when there are none to be had any
  /// more.
  bool TakeEvents() {
    constexpr std::size_t kMostAtOnce = 1024;
    DWORD count = 0;
    if (!GetNumberOfConsoleInputEvents(Input(), &count)) return false;
    if (count == 0) return true;
    std::array<INPUT_RECORD, kMostAtOnce> taken;
    const auto most = static_cast<DWORD>(taken.size());
    if (!ReadConsoleInputW(Input(), taken.data(), most, &count)) return false;
    events.insert(events.end(), taken.begin(), taken.begin() + count);
    return true;
  }

  /// Presses the keys that were; the line is shown anew behind the last of them.
  Outcome PressAll() {
    Outcome outcome = TakeEvents() ? Outcome::kGoesOn : Outcome::kEnded;
    while (outcome == Outcome::kGoesOn && !events.empty()) {
      const INPUT_RECORD event = events.front();
      events.pop_front();
      if (event.EventType == KEY_EVENT) outcome = Press(event.Event.KeyEvent);
    }
    if (outcome == Outcome::kFinished) line.GoToEnd();
    Refresh();
    return outcome;
  }
};

LineEditor::LineEditor(Wait wait, Completer complete)
    : m_state(std::make_unique<State>(std::move(wait), std::move(complete))) {
  TakeKeys();
}

LineEditor::~LineEditor() {
  SetConsoleCtrlHandler(RestoreAtSignal, FALSE);
  RestoreMode();
}

bool LineEditor::Read(std::u16string& line) {
  State& state = *m_state;
  auto outcome = State::Outcome::kGoesOn;
  state.isReading = true;
  state.Show();
  while (outcome == State::Outcome::kGoesOn) {
    const bool isWanted = !state.events.empty() || state.wait();
    outcome = isWanted ? state.PressAll() : State::Outcome::kEnded;
  }
  state.isReading = state.isShown = false;
  OwnOutput::Get().Text("\n");
  if (outcome == State::Outcome::kFinished) line = state.line.Finish();
  return outcome == State::Outcome::kFinished;
}

void LineEditor::Hide() { m_state->Hide(); }

void LineEditor::Show() { m_state->Show(); }

}  // namespace tlk
