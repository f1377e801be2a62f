// Memory runs out, once at every place where some is asked for; and code pages other than the
// system's.

#include <clocale>
#include <functional>
#include <pugixml.hpp>

#include "platform/posix/PosixAnsiText.h"
#include "tests/scripted/ScarceMemory.h"
#include "tests/xml/CodecTest.h"
#include "xml/Documents.h"

namespace tlk {
namespace {

class AllocationTest : public CodecTest {
 protected:
  AllocationTest() {
    pugi::set_memory_management_functions(test::AllocateScarce, test::FreeScarce);
  }

  /// Holds an operation on a message to doing all, or telling that memory is lacking: then the
  /// message is as it was, if `orNothing`. Memory is refused at every place, there alone and from
  /// there on.
  void ExpectAll(const std::string& before, const std::string& after, bool orNothing,
                 const std::function<int(TLK_XMLBuilder&)>& operation) {
    const auto update = [&] {
      TLK_XMLBuilder builder(m_plain);
      test::MemoryLimit none;
      const bool isLoaded = test::Within(none, [&] { return builder.LoadXml(before); }) == 0;
      const bool isDone = operation(builder) == 0;
      std::string xml;
      test::Within(none, [&] { return builder.GetXml(xml); });
      if (!builder.LacksMemory()) return isLoaded && isDone && xml == after;
      return isLoaded && test::WasRefused() && (xml == before || !orNothing);
    };
    ShownBy([&] {
      for (const int refused : {1, test::kEveryTime})
        EXPECT_GT(test::FailOneByOne(update, refused), 5);
    });
  }

  Codec m_plain{m_real, m_text, m_gate, m_log};
};

// So long that each part of it has memory of its own.
const std::string kLong(10'000, 'x');
const std::string kPayload = "<caf\xE9 xmlns:p='urn:p'>" + std::string(200, '\xFC') + "<p:a " +
                             kLong + "='" + kLong + "' k='" + kLong + "'>" + kLong + "</p:a><?p " +
                             kLong + "?></caf\xE9>";

TEST_F(AllocationTest, BuildsAllOrFails) {
  const auto build = [&](TLK_XMLBuilder& builder) {
    std::string xml;
    int results = builder.CreateMessage(kLong, 1, 0, 2, kLong);
    results += builder.AppendData(kPayload) + builder.AddConferenceList("c", 1, kLong, 2);
    return results + builder.SetLength() + builder.GetXml(xml);
  };
  TLK_XMLBuilder first(m_plain);
  EXPECT_EQ(build(first), 0);
  std::string whole;
  first.GetXml(whole);
  EXPECT_THAT(whole, testing::HasSubstr("<p:a "));
  ExpectAll("<m/>", whole, false, build);
}

TEST_F(AllocationTest, EditsAllOrNothing) {
  const std::string rich = "<C k=\"" + kLong + "\" l=\"" + kLong + "\">" + kLong + "<?" + kLong +
                           " " + kLong + "?><!--" + kLong + "--><D/></C>";
  const std::string list = "<Attribute_List><A/>" + rich + "</Attribute_List>";
  const std::string before = "<m xmlns:p=\"u\">" + list + "</m>";
  const std::string fresh = "<Attribute_List><B>" + rich + "</B></Attribute_List>";
  const std::string path = "<Path_List><P>//A/.." + std::string(4'000, ' ') + "</P></Path_List>";
  ExpectAll(before, "<m xmlns:p=\"u\"><B>" + rich + "</B></m>", true,
            [&](auto& builder) { return builder.UpdateAttributesAtPaths(fresh, path); });
  ExpectAll(before, "<m xmlns:p=\"u\"/>", true, [](auto& builder) {
    return builder.DeleteAttributesAtPaths("<Path_List><P>.</P></Path_List>");
  });
}

TEST_F(AllocationTest, ReportsWithoutATextThatThereIsNoMemoryFor) {
  const std::string shown = ShownBy([&] {
    test::MemoryLimit none;
    none.Set(0, test::kEveryTime);
    const test::LimitedMemory limited(&none);
    ReportFailure(m_plain, "", NoNode(1), kDomFailed, kLong);
  });
  EXPECT_EQ(shown, "Failed node does not exist. .\n");
}

TEST_F(AllocationTest, HoldsNoMoreThanItsLastEntries) {
  const std::string list = "<Attribute_List><A k='v'>" + kLong + "</A></Attribute_List>";
  TLK_XMLBuilder builder(m_plain);
  ASSERT_EQ(builder.LoadXml("<m><Data>" + list + "</Data></m>"), 0);
  long before = 0;
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(builder.UpdateAttributes(list), 0);
    ASSERT_EQ(builder.DeleteAttributesAtPaths("<Path_List><P>.</P></Path_List>"), 0);
    ASSERT_EQ(builder.AddAttributes(list), 0);
    if (i == 0) before = test::LiveAllocations();
  }
  EXPECT_LT(test::LiveAllocations() - before, 10);
}

// A message could not be read where it arrived: half a character at the end of an instruction was
// sent as a question mark, and ended the instruction early.
TEST_F(AllocationTest, ABrokenCharacterDoesNotEndAnInstruction) {
  const PosixAnsiText japanese("CP932");
  const XmlGate gate(japanese);
  PugiDomFactory factory(japanese);
  TLK_XMLBuilder builder({factory, japanese, gate, m_log});
  const std::pair<std::string, std::string> cases[] = {
      {"<a>\x93<?p x\x93><b?></a>", "<a>?<?p x ><b?></a>"},
      {"<a>\x93\xFA><?p \x93\xFA?><b\x93\xFA/></a>",
       "<a>\x93\xFA&gt;<?p \x93\xFA?><b\x93\xFA/></a>"},
      {"<a>x></a>", "<a>x&gt;</a>"}};
  for (const auto& [read, written] : cases) {
    std::string xml;
    ASSERT_EQ(builder.LoadXml(read), 0);
    ASSERT_EQ(builder.GetXml(xml), 0);
    EXPECT_EQ(xml, written);
  }
}

// A long text is carried over in pieces, none of which ends within a character.
TEST_F(AllocationTest, KeepsEveryCharacterOfALongText) {
  const PosixAnsiText utf8("UTF-8");
  const XmlGate gate(utf8);
  PugiDomFactory factory(utf8);
  const Codec codec{factory, utf8, gate, m_log};
  TLK_XMLBuilder builder(codec);
  std::string text;
  for (std::size_t size = 65'530; size < 65'540; ++size) {
    const std::string value = std::string(size, 'x') + "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
    ASSERT_EQ(builder.CreateMessage(value, 1, 0), 0);
    ASSERT_EQ(builder.GetNodeText("/*/@Type", text), 0);
    EXPECT_EQ(text, value);
  }
  ASSERT_EQ(builder.CreateMessage("\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF", 1, 0), 0);
  ASSERT_EQ(builder.GetNodeText("/*/@Type", text), 0);
  EXPECT_EQ(text, "\xEF\xBF\xBD??");
  const std::string locale = std::setlocale(LC_CTYPE, nullptr);
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  ShownBy([&] { ReportFailure(codec, "", NoNode(1), 0, "\xF0\x9F\x98\x80"); });
  std::setlocale(LC_CTYPE, locale.c_str());
  EXPECT_THAT(m_log.records.back().text, testing::HasSubstr(". \xF0\x9F\x98\x80. "));
}

}  // namespace
}  // namespace tlk
