#include "xml/msxml/SerialisedXml.h"

#include <gtest/gtest.h>

namespace tlk {
namespace {

TEST(SerialisedXml, HasReferencesInAttributesWhereTheyMustBe) {
  const std::pair<std::u16string, std::u16string> cases[] = {
      {u"", u""},
      {u"<a\n b=\"x\"/>\r\n", u"<a\n b=\"x\"/>\r\n"},
      {u"<a b=\"\n'\r\" c='\t\"'>\n\t<b c=\"\n\"/>\n</a>",
       u"<a b=\"&#10;'&#13;\" c='&#9;\"'>\n\t<b c=\"&#10;\"/>\n</a>"},
      {u"<!--<a b=\"\n\">--><?p <a b=\"\n\"?><a><![CDATA[<a b=\"\n\"]]> b=\"\n\"</a >",
       u"<!--<a b=\"\n\">--><?p <a b=\"\n\"?><a><![CDATA[<a b=\"\n\"]]> b=\"\n\"</a >"},
      {u"<a b=\">\n\"/><c", u"<a b=\">&#10;\"/><c"},
      {u"<a b=\"\n&#xE9;\n&#x1F600;&#65;&#10;&amp;#xE9;&#\">&#xE9;",
       u"<a b=\"&#10;\u00E9&#10;\U0001F600&#65;&#10;&amp;#xE9;&#\">&#xE9;"},
      {u"<a xmlns='u&v<\"&amp;&#65;&x;' b='&'/>",
       u"<a xmlns=\"u&amp;v&lt;&quot;&amp;A&amp;x;\" b='&'/>"},
  };
  for (const auto& [written, escaped] : cases) {
    std::u16string xml = written;
    SettleAttributes(xml, false);
    EXPECT_EQ(xml, escaped);
  }
  std::u16string attribute = u"b=\"\n\"";
  SettleAttributes(attribute, true);
  EXPECT_EQ(attribute, u"b=\"&#10;\"");
}

}  // namespace
}  // namespace tlk
