// What the tools make of a stream: in other pieces it is the same messages and the same end, of
// which nothing unprintable is shown, and not without bounds.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/Fuzzing.h"
#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/Utf8.h"
#include "tools/tlk/message/StreamCheck.h"
#include "tools/tlk/wire/FrameExtractor.h"
#include "tools/tlk/wire/Markup.h"
#include "tools/tlk/wire/MessageView.h"
#include "tools/tlk/wire/Workshop.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::fuzz {
namespace {

using namespace tlk::wire;

constexpr std::size_t kMostOfBody = 300;
constexpr std::string_view kShownBytes =
    "\n !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
    "abcdefghijklmnopqrstuvwxyz{|}~";
constexpr std::size_t kMostOfLine = 2 * kMaxMessageDepth + 2500;

/// A stream in pieces of these sizes; what they leave is one.
std::vector<std::string_view> Cut(std::string_view stream, std::string_view sizes) {
  std::vector<std::string_view> pieces;
  while (!stream.empty()) {
    const auto size =
        sizes.empty() ? stream.size() : static_cast<unsigned char>(sizes.front()) + 1U;
    pieces.push_back(stream.substr(0, size));
    stream.remove_prefix(pieces.back().size());
    sizes.remove_prefix(sizes.empty() ? 0 : 1);
  }
  return pieces;
}

/// The frames of a stream in pieces, and its end.
std::vector<std::string> Frames(std::string_view stream, std::string_view sizes) {
  FrameExtractor frames;
  std::vector<std::string> outcome;
  for (const auto piece : Cut(stream, sizes)) {
    frames.Append(piece);
    while (auto frame = frames.Next()) outcome.push_back(*frame);
  }
  outcome.push_back(std::to_string(frames.Offset()) + frames.Error() +
                    std::to_string(frames.ErrorOffset()));
  if (const auto fault = JudgeEnd(frames); fault && frames.Error().empty()) {
    outcome.back() += fault->text;
  }
  return outcome;
}

/// What a check of a capture in pieces says.
std::string Checked(const Codec& codec, std::string_view capture, std::string_view sizes) {
  std::string said;
  message::StreamCheck check(codec, [&](std::string_view line) { said.append(line) += '\n'; });
  bool goesOn = true;
  for (const auto piece : Cut(capture, sizes)) goesOn = goesOn && check.Append(piece);
  if (goesOn) check.End();
  return said;
}

void CheckShown(const std::string& shown) {
  for (const char16_t c : ToUtf16(shown)) {
    Check(c == u'\n' || c == u'\t' ||
              (c >= u' ' && c != 0x7F && !(c >= 0x80 && c < 0xA0) && c != 0x202E),
          "what is shown can be shown");
  }
  Check(shown.ends_with('\n'), "lines are ended");
  for (auto at = shown.find('\n'); at + 1 < shown.size(); at = shown.find('\n', at + 1)) {
    Check(shown.compare(at + 1, 2, "  ") == 0, "only a head stands at the beginning of a line");
    Check(shown.find('\n', at + 1) - at < kMostOfLine + 8 * kMostOfBody, "lines have bounds");
  }
}

/// Without a DOM a message is read as one reads it.
void CheckType(const std::string& frame, const MessageText& message, const Codec& codec) {
  TLK_XMLParser parser(codec, frame);
  std::string type;
  Check((parser.GetType(type) == 0) == message.Type().has_value(), "both find a type or none");
  std::string read;
  SystemPlatform().text.Narrow(ResolveReferences(message.Type().value_or("")), read);
  if (type.find_first_of("\t\r\n ") == std::string::npos)
    Check(type == read, "the type is the same");
}

void CheckMessage(const std::string& frame, const XmlGate& gate, const Codec& codec) {
  const auto message = ReadMessageText(frame, gate);
  for (const auto sender : {Sender::kUnknown, Sender::kClient, Sender::kServer}) {
    const auto findings = JudgeMessage(frame, message, sender);
    Check(findings.size() < 16, "there are only so many rules");
    for (const auto& finding : findings)
      Check(finding.position <= frame.size(), "it is in the message");
    for (const bool hides : {false, true}) {
      CheckShown(ShowMessage(frame, message, {}, "client 1 >", {hides, kMostOfBody}) +
                 ShowFindings(findings));
    }
  }
  if (message.verdict.Passed()) CheckType(frame, message, codec);
}

}  // namespace
}  // namespace tlk::fuzz

// An input is read as that of the two readers is: which end it comes to says nothing here.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static tlk::wire::Workshop workshop;
  tlk::Codec codec = workshop.codec;
  codec.maxDepth = tlk::kMaxMessageDepth;
  tlk::fuzz::Input input(data, size);
  (void)input.Byte();
  const std::string sizes = input.Text();
  std::string stream;
  while (!input.AtEnd()) stream += tlk::fuzz::PeerBytes(input);
  auto frames = tlk::fuzz::Frames(stream, {});
  tlk::fuzz::Check(frames == tlk::fuzz::Frames(stream, sizes), "pieces do not matter");
  const std::string checked = tlk::fuzz::Checked(codec, stream, {});
  tlk::fuzz::Check(checked == tlk::fuzz::Checked(codec, stream, sizes), "nor when it is checked");
  tlk::fuzz::Check(checked.find_first_not_of(tlk::fuzz::kShownBytes) == std::string::npos,
                   "what is said is printable");
  frames.pop_back();
  for (const auto& frame : frames) tlk::fuzz::CheckMessage(frame, workshop.gate, codec);
  return 0;
}
