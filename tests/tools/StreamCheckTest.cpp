#include "tools/tlk/message/StreamCheck.h"

#include <gtest/gtest.h>

#include "tools/tlk/wire/Workshop.h"

namespace tlk::message {
namespace {

TEST(StreamCheck, FindsTheByteAtWhichAStreamFirstGoesWrongHoweverItIsSplitUp) {
  const std::string a =  // 96 bytes
      "<TLK_Message Length=\"0000096\" xmlns=\"\" Type=\"A\"><From Id=\"-1\"/><To "
      "Id=\"0\"/><Data/></TLK_Message>";
  const auto with = [&a](std::string_view old, const char* now) {
    return std::string(a).replace(a.find(old), old.size(), now);
  };
  const std::string second = "message 2 offset=96 length=96 type=";
  // What follows a good message, and what is printed behind its line.
  const std::pair<std::string, std::string> cases[] = {
      {"", "all well: 1 message, 96 bytes\n"},
      {with("Type", "Tipe"), second + "-\nremark at byte 96: no Type; a host is told an empty one\n"
                                      "all well: 2 messages, 192 bytes\n"},
      {a.substr(0, 95),
       "fault at byte 191: the stream ends, but the message at byte 96 lacks 1 byte\n"},
      {a.substr(0, 30),
       "fault at byte 126: the stream ends, but the message at byte 96 lacks 66 bytes\n"},
      {a.substr(0, 29),
       "fault at byte 125: the stream ends within the stamp of the message at byte 96\n"},
      {"\n", "fault at byte 96: left over: 1 byte, no message begins so\n"},
      {with("ngth=", "nght="), "fault at byte 113: no length stamp in the first 30 bytes\n"},
      {with(" Length", "    Length"), "fault at byte 109: no length stamp in the first 30 bytes\n"},
      {with("0096", "00x6"), "fault at byte 122: length stamp \"00000x6\" is not seven digits\n"},
      {with("00000", "-0000"), "fault at byte 117: length stamp \"-000096\" is not seven digits\n"},
      {with("0096", "0029"), "fault at byte 117: length 29 is below 30\n"},
      {with("<To Id=", "<To Id~") + a,
       second + "-\nfault at byte 165: not XML: attribute without a value\n"
                "message 3 offset=192 length=96 type=\"A\"\n"},
      {with("0096", "0097") + a,
       "message 2 offset=96 length=97 type=-\nfault at byte 192: not XML: text after the root "
       "element\nfault at byte 193: left over: 95 bytes, no message begins so\n"},
      {"\n" + with("0096", "0097"),
       "message 2 offset=96 length=97 type=\"A\"\nfault at byte 96: a message "
       "begins with <TLK_Message\n"},
  };
  const wire::Workshop workshop;
  for (const auto& [bytes, expected] : cases) {
    const std::string stream = a + bytes;
    for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
      std::string printed;
      StreamCheck check(workshop.codec, [&](std::string_view line) { (printed += line) += '\n'; });
      bool isClear = true;
      for (std::size_t at = 0; at < stream.size() && isClear; at += piece) {
        isClear = check.Append(std::string_view(stream).substr(at, piece));
      }
      if (isClear) check.End();
      ASSERT_EQ(printed, "message 1 offset=0 length=96 type=\"A\"\n" + expected)
          << bytes << " in pieces of " << piece;
      EXPECT_EQ(check.FoundFault(), expected.find("fault") != std::string::npos) << bytes;
    }
  }
}

}  // namespace
}  // namespace tlk::message
