#include "fuzz/Fuzzing.h"

#include <cstdio>
#include <cstdlib>

// Called by a fuzzer before the first input: what the product itself prints must not bury the
// report.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

namespace tlk::fuzz {

void Check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "Does not hold: %s\n", what);
  std::abort();
}

std::uint8_t Input::Byte() {
  if (m_left.empty()) return 0;
  const auto byte = static_cast<std::uint8_t>(m_left.front());
  m_left.remove_prefix(1);
  return byte;
}

std::string Input::Text() {
  const std::size_t high = Byte();
  const std::size_t size = high << 8 | Byte();
  std::string text(m_left.substr(0, size));
  m_left.remove_prefix(text.size());
  return text;
}

}  // namespace tlk::fuzz
