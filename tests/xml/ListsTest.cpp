#include <map>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

using Text = std::string;

// Operations, message, attributes, paths; result, message after it ("=": as before), what is shown
// and what is recorded. L is Attribute_List, P is Path_List, M is TLK_Message, ~ a line break. Data
// is left out around a list. Semicolons set operations, and paths, apart.
constexpr const char* kEdits = R"(
add|<M><Data/></M>|<L><b/><a x="1">t<!--c--></a></L>||0|<L><b/><a x="1">t<!--c--></a></L>
add|<M><L><a/></L></M>|<x><L><a>2</a><?p?>t<n:a xmlns:n="n"/></L></x>||0|<M><L><a/><a>2</a><?p?>t<n:a xmlns:n="n"/></L></M>
delete|<L><a/><b/><a>2</a></L>|<L><q/><a>z</a><!--b-->t</L>||0|<L><b/><a>2</a></L>
delete|<L><a/><div/><a/></L>|<L><n:a xmlns:n="n"/><div/><a/><a/></L>||0|<L/>
delete|<L><b><a/></b><n:a xmlns:n="n"/></L>|<L><a/><!--b-->b</L>||-1|=
update|<L><a>1</a><b/><a>2</a></L>|<L><a k="n">9<c/></a><q/><!--b--></L>||0|<L><a k="n">9<c/></a><b/><a>2</a></L>
update|<L><b/><a/><a>z</a></L>|<L><a>1</a><a>2</a></L>||0|<L><b/><a>2</a><a>z</a></L>
update|<L><a/><b/></L>|<L><n:a xmlns:n="n"/></L>||0|<L><n:a xmlns:n="n"/><b/></L>
update|<L><a><q/></a></L>|<L><q/></L>||-1|=
add at|<L><a/><b/></L>|<L><x/><y/><z/></L>|a;b|0|<L><a><x/></a><b><y/></b></L>
add at|<L><a/></L>|<L>t</L>| a ;|0|<L><a>t</a></L>
add at|<M><Data/></M>|<L><x/><y/><z/></L>|.;x;x/y/..|0|<L><x><y/><z/></x></L>
add at|<L><a/><b/></L>|<L><x/><y/></L>|<P><!--a--><![CDATA[b[1]]]></P>|0|<L><a><x/></a><b><y/></b></L>
add at|<L><a k="v">t</a></L>|<L><x/>c<x/><x/><x/><x/></L>|a/@k;/;a/text();q;a[;n:a|0|=
add at|<L><a/></L>|<L><x/><y/><z/></L>|a; ;a|-1|<L><a><x/></a></L>|No path in path node.|No path in path node.
delete at|<L><a k="v"/><b><c/>t</b></L>||b/c;a/@k;b/text()|0|<L><a k="v"/><b/></L>
delete at|<L><a><b/></a></L>||.;.;a/b|0|<M><Data/></M>
delete at|<L><a/></L>||/*;q|0|
delete at|<L><a k="v"/></L>||;q;a[;n:a;1;/;a/@k|-1|=
update at|<L><a/><b><c/></b></L>|<L><x k="1"/><!--c--><z/></L>|a;b/c|0|<L><x k="1"/><b><!--c--></b></L>
update at|<L><a/></L>|<L><x/><y/><z/></L>|.;a;.|0|<M><Data><x/></Data></M>
update at|<L><a/></L>|<L><x/><M/><z/></L>|;/*;q|0|<M/>
update at|<L><a k="v"/></L>|<L><x/><y/><z/></L>|a/@k;/;q;a|-1|=
add;add at|<M/>|<x/>|<P/>|-1|=|No Attributes list to add.|No Attributes list to add
add;add at|<M/>|<x><L> </L></x>|<P/>|-1|=|No Attributes to add in the list.|No Attributes to add
add at|<M/>|<L><a/></L>|<x/>|-1|=|Path list not specified.|Path list not specified.
add at|<M/>|<L><a/></L>|<P/>|-1|=|No paths.|No paths.
add;add at|<M/>|<L><a/></L>|a|-1|=|Failed to find Data element.|Failed to find Data element.~
delete;delete at|<M/>|<x/>|<x/>|-1|=|No Attributes List to delete.|No Attributes list to delete
delete;delete at|<M/>|<L/>|<P/>|-1|=|No Attributes to delete.|No Attributes to delete
delete;delete at|<M/>|<L><a/></L>|a|-1|=|Cannot delete Attributes. None exist.|No Attribute List to delete from.
update;update at|<M/>|<L xmlns="n"><a/></L>|<P/>|-1|=|No Attribute list to update with.|No Attributes list to update with
update;update at|<M/>|<L/>|<P/>|-1|=|No Attributes to update with.|No Attributes to update with
update at|<M/>|<L><a/></L>|<x/>|-1|=|No Attributes List to delete.|No Attributes list to delete
update at|<M/>|<L><a/></L>|<P/>|-1|=|No Path specified.|No Path specified
update;update at|<M/>|<L><a/></L>|a|-1|=|No Attribute List to update.|No Attribute List to update.
)";

const std::map<Text, int (*)(TLK_XMLBuilder&, const Text&, const Text&)> kEditors = {
    {"add", [](auto& b, auto& a, auto&) { return b.AddAttributes(a); }},
    {"add at", [](auto& b, auto& a, auto& p) { return b.AddAttributesAtPaths(a, p); }},
    {"delete", [](auto& b, auto& a, auto&) { return b.DeleteAttributes(a); }},
    {"delete at", [](auto& b, auto&, auto& p) { return b.DeleteAttributesAtPaths(p); }},
    {"update", [](auto& b, auto& a, auto&) { return b.UpdateAttributes(a); }},
    {"update at", [](auto& b, auto& a, auto& p) { return b.UpdateAttributesAtPaths(a, p); }}};

Text WholeMessage(const Text& text) {
  return Replaced(text, "^(<Attribute_List.*)", "<TLK_Message><Data>$1</Data></TLK_Message>");
}

class ListsTest : public CodecTest {
 protected:
  void Check(const Text& operation, std::vector<Text> row) {
    row.resize(8);
    TLK_XMLBuilder builder(m_codec, WholeMessage(row[1]));
    for (int round = 0; round < 2; ++round) ASSERT_EQ(builder.SetLength(), 0);
    Text paths = "<Path_List><p>" + Replaced(row[3], ";", "</p><p>") + "</p></Path_List>";
    if (row[3].starts_with('<')) paths = row[3];
    int result = 99;
    const auto run = [&] { result = kEditors.at(operation)(builder, row[2], paths); };
    EXPECT_EQ(ShownBy(run), row[6].empty() ? "" : row[6] + "\n");
    EXPECT_EQ(std::to_string(result), row[4]);
    ExpectFresh(builder, WholeMessage(row[5] == "=" ? row[1] : row[5]));
    EXPECT_EQ(m_log.records.empty() ? "" : m_log.records[0].text, Replaced(row[7], "~", "\n"));
    m_log.records.clear();
  }

  /// Expects a message but for its stamp, and that it is not the text that was stamped before.
  void ExpectFresh(TLK_XMLBuilder& builder, const Text& expected) {
    const Text xml = XmlOf(builder);
    EXPECT_EQ(Replaced(xml, " Length=\"\\d+\"", ""), expected);
    EXPECT_EQ(XmlOf(builder), xml) << "the stamped text was not forgotten";
  }
};

TEST_F(ListsTest, EditTheAttributesOfAMessage) {
  Text table = Replaced(kEdits, "(</?)L\\b", "$1Attribute_List");
  table = Replaced(Replaced(table, "(</?)P\\b", "$1Path_List"), "(</?)M\\b", "$1TLK_Message");
  for (const Text& line : Split(table.substr(1, table.size() - 2), "\n")) {
    for (const Text& operation : Split(line.substr(0, line.find('|')), ";")) {
      SCOPED_TRACE(testing::Message() << operation << ": " << line);
      Check(operation, Split(line, "|"));
    }
  }
  TLK_XMLBuilder any(m_codec, "<a/>");
  EXPECT_THAT(ShownBy([&] { EXPECT_EQ(any.AddAttributesAtPaths("<a>", "<b>"), -1); }),
              testing::ContainsRegex("^Failed to load DOM .* 3\nNo Attributes list to add.\n$"));
}

TEST_F(ListsTest, BuildPayloads) {
  TLK_XMLBuilder builder(m_codec, "<TLK_Message><x/></TLK_Message>");
  const auto expect = [&](int result, const Text& content) {
    EXPECT_EQ(result, 0);
    ExpectFresh(builder, "<TLK_Message><x/>" + content + "</TLK_Message>");
    for (int round = 0; round < 2; ++round) EXPECT_EQ(builder.SetLength(), 0);
  };
  expect(builder.AddConferenceList("c", 1, "d", 2), "");
  Text all = "<Data><Status><Value/><Description>a&lt;b&amp;\xE9</Description></Status>";
  expect(builder.AddStatus("", "a<b&\xE9"), all + "</Data>");
  all += R"(<Conference_List><Conference Name="&quot;" ParticipantCount="-1" Creator="d" )"
         R"(EllapsedTime="4294967295"/>)";
  expect(builder.AddConferenceList("\"", -1, "d", 4294967295U), all + "</Conference_List></Data>");
  EXPECT_EQ(builder.AddConferenceList("", 0, "", 0), 0);
  all +=
      R"(<Conference Name="" ParticipantCount="0" Creator="" EllapsedTime="0"/></Conference_List>)"
      R"(<Participant_List><Participant Name="p" Creator="FALSE" Leader="TRUE" )"
      R"(Queue_Index="-2147483648"/></Participant_List></Data>)";
  expect(builder.AddParticipantList("p", 2, 0, -2147483647 - 1, "e"), all);
  ASSERT_EQ(builder.CreateMessage("Status", 1, 2, -3, "d"), 0);
  EXPECT_THAT(XmlOf(builder), testing::HasSubstr(R"(<To Id="2"/><Data><Status><Value>-3</Value>)"));
}

}  // namespace
}  // namespace tlk
