#include "tools/tlk/log/SearchedText.h"

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "tools/tlk/posix/TerminalText.h"

namespace tlk::log {

std::string SearchedText(const std::string& word) {
  std::u16string wide;
  TerminalText().Widen(word, wide);
  std::string text;
  SystemPlatform().text.Narrow(wide, text);
  return text;
}

}  // namespace tlk::log
