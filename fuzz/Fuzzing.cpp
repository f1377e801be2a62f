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

std::string PeerBytes(Input& input) {
  const bool isStamped = input.Choice(2) == 1;
  std::string bytes = input.Text();
  if (!isStamped) return bytes;
  char head[] = "<TLK_Message Length=\"0000000\"";
  std::snprintf(head, sizeof head, "<TLK_Message Length=\"%07u\"",
                static_cast<unsigned>(sizeof head - 1 + bytes.size()) % 10'000'000);
  return head + bytes;
}

}  // namespace tlk::fuzz
