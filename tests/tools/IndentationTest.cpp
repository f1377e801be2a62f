#include "tools/tlk/serve/Indentation.h"

#include <gtest/gtest.h>

#include "tests/tools/Frames.h"

namespace tlk::serve {
namespace {

const std::string kIndented =
    "<TLK_Message Length=\"0000000\" xmlns=\"\" Type=\"T\">\r\n\t<From Id=\"-1\"/>\r\n\t"
    "<To Id=\"0\"/>\r\n\t<Data>\r\n\t\t<a/>\r\n\t</Data>\r\n</TLK_Message>\r\n";

TEST(Indentation, GoesAndItsLengthWithIt) {
  const auto plain = Message("T", "<Data><a/></Data>");
  const auto indented = Stamped(kIndented);
  EXPECT_EQ(WithoutIndentation(indented), plain);
  EXPECT_EQ(WithoutIndentation(plain), plain);
  EXPECT_EQ(WithoutIndentation(indented + indented), plain + plain);
  EXPECT_EQ(WithoutIndentation("Sent. " + indented + "\n (x)", kRecordIndentation),
            "Sent. " + plain + "\n (x)");
  EXPECT_EQ(
      WithoutIndentation(R"(d="<a>\x0D\x0A\x09<b/>\x0D\x0A</a>\x0D\x0A" c=2)", kQuotedIndentation),
      R"(d="<a><b/></a>" c=2)");
}

TEST(Indentation, IsNothingElse) {
  for (const char* text :
       {"", "\r\n", "\r\n<a/>", "<a>\n<b/></a>", "<a> \r\n<b/></a>", "<a>\r\n <b/></a>",
        "<a>\t<b/></a>", "<a>\r\n\tx<b/></a>", "<a>x\r\n<b/></a>", "<a>\r\n\r\n<b/></a>",
        "<a/>\r\n\n", "<!--<a>\r\n\t<b/>-->", "<a><![CDATA[<b>\r\n</b>]]></a>", "<?p <a>\r\n<b> ?>",
        "<!--<a>\r\n<b>", "<TLK_Message Length=\"00"}) {
    EXPECT_EQ(WithoutIndentation(text), text);
  }
  EXPECT_EQ(WithoutIndentation(R"("<a>\\x0D\\x0A<b/>\x0D\x0Ax")", kQuotedIndentation),
            R"("<a>\\x0D\\x0A<b/>\x0D\x0Ax")");
}

TEST(Indentation, LeavesAStampThatCannotHaveCountedIt) {
  for (const std::string digits : {"0000001", "12ab567", "-000098"}) {
    const auto message = "<TLK_Message Length=\"" + digits + "\">";
    EXPECT_EQ(WithoutIndentation(message + "\r\n\t<a/>"), message + "<a/>");
  }
}

}  // namespace
}  // namespace tlk::serve
