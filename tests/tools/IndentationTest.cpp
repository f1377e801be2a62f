#include "tools/tlk/serve/Indentation.h"

#include <gtest/gtest.h>

namespace tlk::serve {
namespace {

TEST(Indentation, GoesFromBetweenTwoTagsAndBehindTheLast) {
  const std::pair<const char*, const char*> cases[] = {
      {"<m>\r\n\t<a x='1'/>\r\n\t<b>\r\n\t\t<c/>\r\n\t</b>\r\n</m>\r\n",
       "<m><a x='1'/><b><c/></b></m>"},
      {"<m>\r\n<!-- c -->\r\n\t<?p i?>\r\n\t<![CDATA[c]]>\r\n\t</m>\r\n\t",
       "<m><!-- c --><?p i?><![CDATA[c]]></m>"},
      {"\r\n<a/>\r\n", "\r\n<a/>"},
  };
  for (const auto& [text, bare] : cases) {
    EXPECT_EQ(WithoutIndentation(text), bare);
    EXPECT_EQ(WithoutIndentation(bare), bare);
  }
}

TEST(Indentation, IsNothingElse) {
  for (const char* const text :
       {"", "\r\n", "\r\n<a/>", "<a>\n<b/></a>", "<a> \r\n<b/></a>", "<a>\r\n <b/></a>",
        "<a>\t<b/></a>", "<a>\r\n\tx<b/></a>", "<a>x\r\n<b/></a>", "<a>\r\n\r\n<b/></a>",
        "<a/>\r\n\n", "<!--<a>\r\n\t<b/>-->", "<a><![CDATA[<b>\r\n</b>]]></a>", "<?p <a>\r\n<b> ?>",
        "<!--<a>\r\n<b>", "<TLK_Message Length=\"00"}) {
    EXPECT_EQ(WithoutIndentation(text), text);
  }
}

}  // namespace
}  // namespace tlk::serve
