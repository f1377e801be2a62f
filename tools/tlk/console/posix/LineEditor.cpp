#include "tools/tlk/console/LineEditor.h"

#include <histedit.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <clocale>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <type_traits>

#include "platform/Utf8.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/console/posix/TerminalState.h"

namespace tlk {
namespace {

constexpr int kHistorySize = 1000;
constexpr std::size_t kPromptWidth = 2;

// The library takes it as one that it may write to.
wchar_t* Prompt(EditLine* /*editor*/) {
  static std::wstring prompt = L"> ";
  return prompt.data();
}

std::u16string ToUtf16(std::wstring_view text) {
  std::u16string wide;
  for (const wchar_t character : text) {
    const auto number = static_cast<char32_t>(character);
    if (number > 0xFFFF) wide += static_cast<char16_t>(0xD7C0U + (number >> 10U));
    wide += static_cast<char16_t>(number > 0xFFFF ? 0xDC00U + (number & 0x3FFU) : number);
  }
  return wide;
}

std::wstring ToWide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

/// The characters of the user's locale, for the thread and the time of a call of the library: what
/// else runs in the program keeps those that it has.
class UserCharacters {
 public:
  explicit UserCharacters(locale_t locale) : m_before(uselocale(locale)) {}
  ~UserCharacters() { uselocale(m_before); }
  UserCharacters(const UserCharacters&) = delete;
  UserCharacters& operator=(const UserCharacters&) = delete;

 private:
  const locale_t m_before;
};

std::FILE* OpenAgain(int descriptor, const char* mode) { return ::fdopen(::dup(descriptor), mode); }

}  // namespace

struct LineEditor::State {
  struct Closer {
    void operator()(std::FILE* owned) const { std::fclose(owned); }
    void operator()(EditLine* owned) const { el_end(owned); }
    void operator()(HistoryW* owned) const { history_wend(owned); }
    void operator()(std::remove_pointer_t<locale_t>* owned) const { freelocale(owned); }
  };

  template <typename Thing>
  using Owned = std::unique_ptr<Thing, Closer>;

  const Wait wait;
  const Completer complete;
  const TerminalState terminal;
  const Owned<std::remove_pointer_t<locale_t>> locale{newlocale(LC_CTYPE_MASK, "", nullptr)};
  const Owned<std::FILE> input{OpenAgain(STDIN_FILENO, "r")};
  const Owned<std::FILE> output{OpenAgain(OwnOutput::Get().Descriptor(), "w")};
  const Owned<HistoryW> history{history_winit()};
  const Owned<EditLine> editor{el_init("tlk", input.get(), output.get(), output.get())};
  bool isReading = false;

  State(Wait waitForKey, Completer completer)
      : wait(std::move(waitForKey)), complete(std::move(completer)) {
    // The keys that insert themselves are told apart here.
    const UserCharacters characters(locale.get());
    HistEventW event;
    history_w(history.get(), &event, H_SETSIZE, kHistorySize);
    history_w(history.get(), &event, H_SETUNIQUE, 1);
    Set(EL_CLIENTDATA, this);
    Set(EL_PROMPT, Prompt);
    Set(EL_EDITOR, L"emacs");
    Set(EL_HIST, history_w, history.get());
    Set(EL_GETCFN, ReadKey);
    Set(EL_ADDFN, L"tlk-complete", L"complete the word", CompleteWord);
    Set(EL_ADDFN, L"tlk-suspend", L"suspend the program", Suspend);
    // Between two lines, too, keys are neither shown nor collected; and the key that suspends is
    // read like any other, for the terminal has to be restored first.
    Set(EL_SETTY, L"-x", L"-icanon", L"-echo", L"susp=", nullptr);
    Set(EL_SETTY, L"-d", L"susp=", nullptr);
    Set(EL_BIND, L"^I", L"tlk-complete", nullptr);
    Set(EL_BIND, L"^Z", L"tlk-suspend", nullptr);
    Set(EL_BIND, L"^R", L"em-inc-search-prev", nullptr);
  }

  template <typename... Arguments>
  void Set(int what, Arguments... arguments) const {
    el_wset(editor.get(), what, arguments...);
  }

  static State& Of(EditLine* editor) {
    void* data = nullptr;
    el_wget(editor, EL_CLIENTDATA, &data);
    return *static_cast<State*>(data);
  }

  /// Gives the library a character, 0 at the end of the input.
  static int ReadKey(EditLine* editor, wchar_t* key) {
    State& self = Of(editor);
    std::mbstate_t state{};
    while (true) {
      char byte = 0;
      if (!self.WaitForKey()) return 0;
      const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
      if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
      if (count <= 0) return 0;
      const std::size_t used = std::mbrtowc(key, &byte, 1, &state);
      if (used == static_cast<std::size_t>(-2)) continue;
      if (used == static_cast<std::size_t>(-1)) *key = L'\xFFFD';
      return 1;
    }
  }

  bool WaitForKey() {
    const UserCharacters none(LC_GLOBAL_LOCALE);
    return wait();
  }

  static unsigned char CompleteWord(EditLine* editor, int /*key*/) {
    State& self = Of(editor);
    const LineInfoW* const line = el_wline(editor);
    std::string before;
    tlk::AppendUtf8(ToUtf16({line->buffer, static_cast<std::size_t>(line->cursor - line->buffer)}),
                    before);
    const Completion completion = self.complete(before);
    if (!completion.rest.empty()) {
      el_winsertstr(editor, ToWide(completion.rest).c_str());
      return CC_REFRESH;
    }
    std::string choices;
    for (const auto& choice : completion.choices) choices += choice + "  ";
    if (choices.empty()) return CC_REFRESH_BEEP;
    self.Hide();
    OwnOutput::Get().Line(choices);
    self.Show();
    return CC_NORM;
  }

  static unsigned char Suspend(EditLine* editor, int /*key*/) {
    State& self = Of(editor);
    self.Hide();
    self.terminal.SuspendProgram();
    self.Show();
    return CC_NORM;
  }

  /// Where on the screen, counted from the prompt's line, the cursor is.
  [[nodiscard]] std::size_t CursorRow() const {
    const LineInfoW* const line = el_wline(editor.get());
    winsize size{};
    ::ioctl(OwnOutput::Get().Descriptor(), TIOCGWINSZ, &size);
    const std::size_t columns = size.ws_col == 0 ? 80 : size.ws_col;
    std::size_t cells = kPromptWidth;
    for (const wchar_t* at = line->buffer; at != line->cursor; ++at) {
      const auto width = static_cast<std::size_t>(std::max(::wcwidth(*at), 0));
      // A wide character does not begin in the last column.
      if (width == 2 && cells % columns == columns - 1) ++cells;
      cells += *at < L' ' ? 2 : width;
    }
    const std::size_t most = size.ws_row == 0 ? 23 : size.ws_row - 1U;
    return std::min(cells / columns, most);
  }

  void Hide() {
    if (!isReading) return;
    const UserCharacters characters(locale.get());
    const std::size_t row = CursorRow();
    const std::string up = row == 0 ? "" : "\x1b[" + std::to_string(row) + 'A';
    OwnOutput::Get().Text(up + "\r\x1b[J");
  }

  void Show() {
    if (!isReading) return;
    const UserCharacters characters(locale.get());
    el_resize(editor.get());
    Set(EL_REFRESH);
  }
};

LineEditor::LineEditor(Wait wait, Completer complete)
    : m_state(std::make_unique<State>(std::move(wait), std::move(complete))) {}

LineEditor::~LineEditor() = default;

bool LineEditor::Read(std::u16string& line) {
  if (m_state->editor == nullptr) return false;
  const UserCharacters characters(m_state->locale.get());
  el_resize(m_state->editor.get());
  m_state->isReading = true;
  int count = 0;
  const wchar_t* const typed = el_wgets(m_state->editor.get(), &count);
  m_state->isReading = false;
  if (typed == nullptr || count <= 0) {
    OwnOutput::Get().Text("\n");
    return false;
  }
  std::wstring_view text(typed, static_cast<std::size_t>(count));
  if (text.ends_with(L'\n')) text.remove_suffix(1);
  line = ToUtf16(text);
  HistEventW event;
  if (!text.empty()) history_w(m_state->history.get(), &event, H_ENTER, std::wstring(text).c_str());
  return true;
}

void LineEditor::Hide() { m_state->Hide(); }

void LineEditor::Show() { m_state->Show(); }

}  // namespace tlk
