#include "tools/tlk/message/StreamCheck.h"

#include <gtest/gtest.h>

#include "tests/tools/Frames.h"
#include "tools/tlk/message/Workshop.h"

namespace tlk::message {
namespace {

TEST(StreamCheck, FindsTheByteAtWhichAStreamFirstGoesWrong) {
  const std::string a = Message("A", "");  // 89 bytes
  const auto with = [&a](std::string_view old, const char* now) {
    return std::string(a).replace(a.find(old), old.size(), now);
  };
  const std::string second = "message 2 offset=89 length=89 type=";
  // What follows a good message, and what is printed behind its line.
  const std::pair<std::string, std::string> cases[] = {
      {"", "all well: 1 message, 89 bytes\n"},
      {with("Type", "Tipe"), second + "-\nremark at byte 89: no Type; a host is told an empty one\n"
                                      "all well: 2 messages, 178 bytes\n"},
      {a.substr(0, 80),
       "fault at byte 169: the stream ends, but the message at byte 89 lacks 9 bytes\n"},
      {a.substr(0, 25),
       "fault at byte 114: the stream ends within the stamp of the message at byte 89\n"},
      {"\n", "fault at byte 89: left over: 1 byte, no message begins so\n"},
      {with("ngth=", "nght="), "fault at byte 106: no length stamp in the first 30 bytes\n"},
      {with("0089", "00x9"), "fault at byte 115: length stamp \"00000x9\" is not seven digits\n"},
      {with("0089", "0029"), "fault at byte 110: length 29 is below 30\n"},
      {with("<To Id=", "<To Id~") + a,
       second + "-\nfault at byte 158: not XML: attribute without a value\n"
                "message 3 offset=178 length=89 type=\"A\"\n"},
      {with("0089", "0090") + a,
       "message 2 offset=89 length=90 type=-\nfault at byte 178: not XML: text after the root "
       "element\nfault at byte 179: left over: 88 bytes, no message begins so\n"},
      {Stamped("\n" + a),
       "message 2 offset=89 length=90 type=\"A\"\nfault at byte 89: a message "
       "begins with <TLK_Message\n"},
  };
  const Workshop workshop;
  for (const auto& [bytes, expected] : cases) {
    std::string printed;
    StreamCheck check(workshop.codec, [&](std::string_view line) { (printed += line) += '\n'; });
    if (check.Append(a + bytes)) check.End();
    EXPECT_EQ(printed, "message 1 offset=0 length=89 type=\"A\"\n" + expected) << bytes;
    EXPECT_EQ(check.FoundFault(), expected.find("fault") != std::string::npos) << bytes;
  }
}

}  // namespace
}  // namespace tlk::message
