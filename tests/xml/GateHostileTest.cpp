#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <string>

#include "tests/scripted/ScarceMemory.h"
#include "tests/xml/GateOracle.h"
#include "xml/Gate.h"

namespace tlk::test {
namespace {

std::string Repeat(std::size_t count, const std::function<std::string(std::size_t)>& piece) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += piece(i);
  return text;
}

std::string Nested(std::size_t depth, const std::string& inside) {
  const auto tags = [depth](const char* tag) { return Repeat(depth, [tag](auto) { return tag; }); };
  return tags("<a>") + inside + tags("</a>");
}

std::string Attributes(std::size_t count) {
  return Repeat(count, [](auto i) { return " a" + std::to_string(i) + "=''"; });
}

std::string Declarations(std::size_t first, std::size_t count) {
  return Repeat(count, [first](auto i) {
    const std::string number = std::to_string(first + i);
    return " xmlns:p" + number + "='urn:" + number + "'";
  });
}

GateVerdict Pass(const std::string& text) {
  static const BytePage page;
  static const XmlGate gate(page);
  return gate.Pass(text);
}

std::string ReasonFor(const std::string& text) {
  const GateVerdict verdict = Pass(text);
  return verdict.Passed() ? "" : verdict.reason;
}

TEST(GateLimits, BoundDepthAndAttributes) {
  const auto element = [](std::size_t count, const std::string& more = "") {
    return "<b" + Attributes(count) + more + "/>";
  };
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth - 1, "<b/><b></b>")), "");
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth + 1, "")), "elements are nested too deeply");
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth, "<b/>")), "elements are nested too deeply");
  EXPECT_EQ(ReasonFor("<a>" + element(kMaxXmlAttributes) + element(kMaxXmlAttributes) + "</a>"),
            "");
  EXPECT_EQ(ReasonFor(element(kMaxXmlAttributes + 1)), "too many attributes");
  EXPECT_EQ(ReasonFor(element(kMaxXmlAttributes, " xmlns='u'")), "too many attributes");
  EXPECT_EQ(ReasonFor(element(kMaxXmlAttributes - 1, " a7=''")), "attribute is there twice");
}

TEST(GateMemory, IsNotAllocatedForOrdinaryDocuments) {
  const std::string text =
      "<?xml version='1.0'?><TLK_Message Length='0000000' xmlns='' xmlns:p='urn:p' Type='x'>" +
      Repeat(200, [](auto) { return "<p:e xmlns:q='urn:q' q:a='' b='\xE4'>&amp;</p:e>"; }) +
      Nested(kMaxXmlDepth - 1, "") + "<b" + Attributes(kMaxXmlAttributes) + "/></TLK_Message>";
  ASSERT_EQ(ReasonFor(text), "");
  EXPECT_EQ(FailOneByOne([&] { return Pass(text).Passed(); }), 0);
}

TEST(GateMemory, ThatIsNotToBeHadIsAReasonToRefuse) {
  const std::string text = "<a" + Declarations(0, 1000) + "/>";
  ASSERT_EQ(ReasonFor(text), "");
  const int failures = FailOneByOne([&] {
    const GateVerdict verdict = Pass(text);
    return verdict.Passed() ? !WasRefused()
                            : verdict.reason == std::string_view("not enough memory");
  });
  EXPECT_GT(failures, 0);
}

// Done naively, each of these takes time by the square of its length.
TEST(GateTime, StaysInProportionForHostileTexts) {
  const std::string longName(1000000, 'u');
  const std::string longNames = "<a xmlns:b='" + longName + "x' xmlns:c='" + longName + "y'>" +
                                Repeat(20000, [](auto) { return "<d b:x='' c:x=''/>"; }) + "</a>";
  const std::string manyNames =
      Repeat(50, [](auto i) { return "<a" + Declarations(500 * i, 500) + ">"; }) +
      Repeat(20000, [](auto i) { return "<p" + std::to_string(i) + ":b/>"; }) +
      Repeat(50, [](auto) { return "</a>"; });
  const std::clock_t start = std::clock();
  EXPECT_EQ(ReasonFor(longNames), "");
  EXPECT_EQ(ReasonFor(manyNames), "");
  EXPECT_LT(std::clock() - start, 15 * CLOCKS_PER_SEC);
}

}  // namespace
}  // namespace tlk::test
