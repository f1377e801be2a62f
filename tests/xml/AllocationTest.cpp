// Memory runs out, once at every place where some is asked for.

#include <cstdlib>
#include <pugixml.hpp>

#include "tests/scripted/ScarceMemory.h"
#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

class AllocationTest : public CodecTest {
 protected:
  void SetUp() override {
    pugi::set_memory_management_functions(test::AllocateScarce, test::FreeScarce);
  }
  void TearDown() override { pugi::set_memory_management_functions(std::malloc, std::free); }
};

const std::string kPayload =
    "<caf\xE9 xmlns:p='urn:p'>" + std::string(200, '\xFC') + "<p:a/></caf\xE9>";

TEST_F(AllocationTest, BuildsAllOrFails) {
  std::string xml;
  int failures = 0;
  const auto build = [&] {
    TLK_XMLBuilder builder({m_real, m_text, m_gate, m_log});
    const bool created = builder.CreateMessage("Chat", 1, 0) == 0;
    builder.AppendData(kPayload);
    builder.SetLength();
    const bool written = builder.GetXml(xml) == 0;
    return created == builder.HasDocument() && (created || !written);
  };
  EXPECT_NE(ShownBy([&] { failures = test::FailOneByOne(build); }), "");
  EXPECT_GT(failures, 5);
  EXPECT_NE(xml.find("<p:a/>"), std::string::npos);
}

TEST_F(AllocationTest, ReadsAllOrFails) {
  const std::string message = "<m Type='t\xE9'><To Id='3'/><Data>" + kPayload + "</Data></m>";
  std::string data;
  int failures = 0;
  const auto read = [&] {
    TLK_XMLParser parser({m_real, m_text, m_gate, m_log}, message);
    std::string type = "before";
    std::int32_t id = -5;
    const bool hasType = parser.GetType(type) == 0;
    const bool hasId = parser.GetReceiverId(id) == 0;
    parser.GetNode("/m/Data[caf\xE9]", data, false);
    parser.GetData(data);
    return type == (hasType ? "t\xE9" : "before") && id == (hasId ? 3 : -5);
  };
  EXPECT_NE(ShownBy([&] { failures = test::FailOneByOne(read); }), "");
  EXPECT_GT(failures, 5);
  EXPECT_NE(data.find("<p:a/>"), std::string::npos);
}

TEST_F(AllocationTest, ReplacesAllOrNothing) {
  const std::string whole = "<m><Attribute_List><A/></Attribute_List></m>";
  int failures = 0;
  const auto update = [&] {
    TLK_XMLBuilder builder({m_real, m_text, m_gate, m_log});
    std::string xml;
    const auto load = [&] {
      const test::PlentyOfMemory plenty;
      return builder.LoadXml(whole) == 0;
    };
    const bool isLoaded = load();
    const bool isReplaced =
        builder.UpdateAttributesAtPaths("<Attribute_List><B><C/></B></Attribute_List>",
                                        "<Path_List><P>//A/..</P></Path_List>") == 0;
    const test::PlentyOfMemory plenty;
    builder.GetXml(xml);
    return isLoaded && xml == (isReplaced ? "<m><B><C/></B></m>" : whole) &&
           (isReplaced || builder.LacksMemory());
  };
  ShownBy([&] { failures = test::FailOneByOne(update); });
  EXPECT_GT(failures, 5);
}

TEST_F(AllocationTest, AnUpdatedListHoldsNoMoreThanItsLastEntries) {
  TLK_XMLBuilder builder({m_real, m_text, m_gate, m_log});
  ASSERT_EQ(builder.LoadXml("<m><Data><Attribute_List><A/></Attribute_List></Data></m>"), 0);
  const std::string entry = "<A k='v'>" + std::string(5000, 't') + "</A>";
  const std::string attributes = "<Attribute_List>" + entry + "</Attribute_List>";
  const auto update = [&] { ASSERT_EQ(builder.UpdateAttributes(attributes), 0); };
  update();
  const long before = test::LiveAllocations();
  for (int i = 0; i < 100; ++i) update();
  EXPECT_LT(test::LiveAllocations() - before, 10);
}

}  // namespace
}  // namespace tlk
