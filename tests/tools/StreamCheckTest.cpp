#include "tools/tlk/message/StreamCheck.h"

#include <gtest/gtest.h>

#include "tools/tlk/wire/Workshop.h"

namespace tlk::message {
namespace {

TEST(StreamCheck, FindsTheByteAtWhichAStreamFirstGoesWrongHoweverItIsSplitUp) {
  const std::string a =  // 89 bytes
      "<TLK_Message Length=\"0000089\" xmlns=\"\" Type=\"A\"><From Id=\"-1\"/><To "
      "Id=\"0\"/></TLK_Message>";
  const auto with = [&a](std::string_view old, const char* now) {
    return std::string(a).replace(a.find(old), old.size(), now);
  };
  const std::string second = "message 2 offset=89 length=89 type=";
  // What follows a good message, and what is printed behind its line.
  const std::pair<std::string, std::string> cases[] = {
      {"", "all well: 1 message, 89 bytes\n"},
      {with("Type", "Tipe"), second + "-\nremark at byte 89: no Type; a host is told an empty one\n"
                                      "all well: 2 messages, 178 bytes\n"},
      {a.substr(0, 88),
       "fault at byte 177: the stream ends, but the message at byte 89 lacks 1 byte\n"},
      {a.substr(0, 30),
       "fault at byte 119: the stream ends, but the message at byte 89 lacks 59 bytes\n"},
      {a.substr(0, 29),
       "fault at byte 118: the stream ends within the stamp of the message at byte 89\n"},
      {"\n", "fault at byte 89: left over: 1 byte, no message begins so\n"},
      {with("ngth=", "nght="), "fault at byte 106: no length stamp in the first 30 bytes\n"},
      {with(" Length", "    Length"), "fault at byte 102: no length stamp in the first 30 bytes\n"},
      {with("0089", "00x9"), "fault at byte 115: length stamp \"00000x9\" is not seven digits\n"},
      {with("00000", "-0000"), "fault at byte 110: length stamp \"-000089\" is not seven digits\n"},
      {with("0089", "0029"), "fault at byte 110: length 29 is below 30\n"},
      {with("<To Id=", "<To Id~") + a,
       second + "-\nfault at byte 158: not XML: attribute without a value\n"
                "message 3 offset=178 length=89 type=\"A\"\n"},
      {with("0089", "0090") + a,
       "message 2 offset=89 length=90 type=-\nfault at byte 178: not XML: text after the root "
       "element\nfault at byte 179: left over: 88 bytes, no message begins so\n"},
      {"\n" + with("0089", "0090"),
       "message 2 offset=89 length=90 type=\"A\"\nfault at byte 89: a message "
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
      ASSERT_EQ(printed, "message 1 offset=0 length=89 type=\"A\"\n" + expected)
          << bytes << " in pieces of " << piece;
      EXPECT_EQ(check.FoundFault(), expected.find("fault") != std::string::npos) << bytes;
    }
  }
}

}  // namespace
}  // namespace tlk::message
