#include "tools/tlk/message/MessageSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tools/tlk/Words.h"
#include "tools/tlk/message/Workshop.h"

namespace tlk::message {
namespace {

TEST(MessageSession, RunsEachCommandWithItsWordsInTheirOrder) {
  const auto file = std::filesystem::temp_directory_path() / "tlk message test.xml";
  std::ofstream(file, std::ios::binary) << "<m Type='T'><To Id='5x'>t</To></m>\n";
  const std::string given = Quote(std::string("@") + file.string());
  const std::pair<std::string, testing::Matcher<std::string>> steps[] = {
      {"create Chat -2147483648 5 7 \"a <b>\"", "create 0"},
      {"xml", testing::StartsWith(R"(xml 0 "<TLK_Message Length=\"0000000\" xmlns=\"\" Type=\"C)")},
      {"node-text //*[From/@Id=-2147483648][To/@Id=5]//Description", R"(node-text 0 "a <b>")"},
      {"create Chat 5 0", "create 0"},
      {"append <Notes>b</Notes>", "append 0"},
      {"status 8 ninth", "status 0"},
      {"node-text //Notes/../Status[Value=8]/Description", R"(node-text 0 "ninth")"},
      {"conference c -1 d 4294967295", "conference 0"},
      {"node-text //*[@Name='c'][@Creator='d'][@ParticipantCount=-1]/@EllapsedTime",
       R"(node-text 0 "4294967295")"},
      {"participant p 0 1 2 unused", "participant 0"},
      {"node-text //*[@Leader='FALSE'][@Creator='TRUE']/@Queue_Index", R"(node-text 0 "2")"},
      {"add-attributes <Attribute_List><A/><B>b</B></Attribute_List>", "add-attributes 0"},
      {"update-attributes <Attribute_List><A>a</A></Attribute_List>", "update-attributes 0"},
      {"add-attributes-at-paths <Attribute_List><C/></Attribute_List> "
       "<Path_List><P>B</P></Path_List>",
       "add-attributes-at-paths 0"},
      {"update-attributes-at-paths <Attribute_List><D>d</D></Attribute_List> "
       "<Path_List><P>B/C</P></Path_List>",
       "update-attributes-at-paths 0"},
      {"node-text //Attribute_List", R"(node-text 0 "abd")"},
      {"delete-attributes <Attribute_List><A/></Attribute_List>", "delete-attributes 0"},
      {"delete-attributes-at-paths <Path_List><P>B/D</P></Path_List>",
       "delete-attributes-at-paths 0"},
      {"node-text //Attribute_List", R"(node-text 0 "b")"},
      {"set-node-attribute //B Colour red", "set-node-attribute 0"},
      {"node-text //@Colour", R"(node-text 0 "red")"},
      {"set-length", "set-length 0"},
      {std::string("load ") + given, "load 0"},
      {"node-text @Type", "node-text -1"},
      {"type", "error: nothing was parsed yet: parse TEXT comes first"},
      {std::string("parse ") + given, "parse loaded"},
      {"type", R"(type 0 "T")"},
      {"receiver", "receiver 0 5"},
      {"node To text", R"(node 0 "t")"},
      {"node To xml", R"(node 0 "<To Id=\"5x\">t</To>")"},
      {"attribute /m/To Id", R"(attribute 0 "5x")"},
      {"parse <m>", "parse empty"},
      {"create T 1 2 3", "error: wrong number of words: create TYPE FROM TO [STATUS DESCRIPTION]"},
      {"conference c 1 d -1",
       R"(error: ELAPSED must be a whole number from 0 to 4294967295, not "-1")"},
      {"load @no/file", R"(error: cannot read the file "no/file")"},
  };
  std::vector<std::string> output;
  const Workshop workshop;
  MessageSession session(workshop.codec, [&](std::string_view line) { output.emplace_back(line); });
  for (const auto& [line, printed] : steps) {
    output.clear();
    session.RunLine(line);
    EXPECT_THAT(output, testing::ElementsAre(printed)) << line;
  }
  std::filesystem::remove(file);
}

}  // namespace
}  // namespace tlk::message
