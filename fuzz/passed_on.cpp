// What the server takes away and puts in place: indentation goes once and alone, and a message that
// is passed on is one that would be passed on just so. An input is a message, its stamp aside.

#include "fuzz/Fuzzing.h"
#include "tools/tlk/serve/Indentation.h"
#include "tools/tlk/serve/Messages.h"

namespace tlk::fuzz {
namespace {

std::string WithoutBreaks(std::string text) {
  std::erase_if(text, [](char byte) { return byte == '\r' || byte == '\n' || byte == '\t'; });
  return text;
}

void CheckIndentation(const std::string& text) {
  const auto bare = serve::WithoutIndentation(text);
  Check(serve::WithoutIndentation(bare) == bare, "indentation goes at once");
  Check(WithoutBreaks(bare) == WithoutBreaks(text), "nothing but line breaks and tabs goes");
}

void CheckPassedOn(const std::string& text) {
  static serve::Messages messages;
  std::string fault;
  const auto received = messages.Read(serve::Stamped(text), fault);
  Check(received.has_value() == fault.empty(), "a message that is refused has a fault");
  if (!received) return;
  const auto again = messages.Read(serve::Messages::Write(received->wording, 0, 7), fault);
  Check(again.has_value(), "what is passed on is a message");
  Check(again->type == received->type && again->wording.text == received->wording.text &&
            again->wording.ids == received->wording.ids,
        "it is passed on as it is");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlk::fuzz::Input input(data, size);
  const std::string text = input.Rest();
  tlk::fuzz::CheckIndentation(text);
  tlk::fuzz::CheckPassedOn(text);
  return 0;
}
