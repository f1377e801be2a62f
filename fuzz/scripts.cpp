// Files for the server: whatever stands in them they are read, or a sentence says why not. An input
// is the choice of a kind of file, and its text.

#include <algorithm>

#include "fuzz/Fuzzing.h"
#include "tools/tlk/serve/Answers.h"
#include "tools/tlk/serve/ScriptPlayer.h"

namespace tlk::fuzz {
namespace {

using namespace tlk::serve;

constexpr std::size_t kMostFilled = 100000;

void CheckConversation(const std::string& text) {
  auto conversation = ReadConversation(text);
  ScriptPlayer::Check(conversation);
  std::size_t size = 0;
  for (auto& line : conversation.server) {
    line = WithFills(line);
    size += line.text.size();
    if (size > kMostFilled) return;
  }
  try {
    ScriptPlayer::Check(conversation);
  } catch (const ScriptError&) {
    Check(false, "what has been checked can be played");
  }
}

bool IsPrintable(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return byte >= ' ' && byte <= '~'; });
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlk::fuzz::Input input(data, size);
  const bool isAnswers = input.Choice(2) == 1;
  const std::string text = input.Rest();
  try {
    if (isAnswers) {
      static_cast<void>(tlk::serve::Answers::Read(text));
    } else {
      tlk::fuzz::CheckConversation(text);
    }
  } catch (const tlk::serve::ScriptError& error) {
    tlk::fuzz::Check(tlk::fuzz::IsPrintable(error.what()), "a terminal may be given what is said");
  }
  return 0;
}
