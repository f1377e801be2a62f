#include "tools/tlk/posix/TerminalText.h"

#include <langinfo.h>

#include <clocale>
#include <memory>
#include <string>
#include <type_traits>

#include "platform/posix/PosixAnsiText.h"

namespace tlk {
namespace {

struct FreeLocale {
  void operator()(locale_t locale) const { freelocale(locale); }
};

/// Asked for without `setlocale`, which would change how the libraries beneath read and print.
std::string ReadCodeset() {
  const std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale> locale(
      newlocale(LC_CTYPE_MASK, "", nullptr));
  return locale ? nl_langinfo_l(CODESET, locale.get()) : "ASCII";
}

const std::string& Codeset() {
  static const std::string codeset = ReadCodeset();
  return codeset;
}

}  // namespace

const AnsiText& TerminalText() {
  static const PosixAnsiText text(Codeset());
  return text;
}

bool TerminalIsUtf8() { return Codeset() == "UTF-8"; }

}  // namespace tlk
