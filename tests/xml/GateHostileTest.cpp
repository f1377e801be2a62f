#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>
#include <string>

#include "tests/xml/GateOracle.h"
#include "xml/Gate.h"

namespace {

/// How often memory may still be had, and how often it was asked for.
std::size_t remaining = std::numeric_limits<std::size_t>::max();
std::size_t requested = 0;

void* Allocate(std::size_t size, std::size_t alignment) {
  ++requested;
  const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
  void* const memory = remaining > 0 ? std::aligned_alloc(alignment, rounded) : nullptr;
  if (memory == nullptr) throw std::bad_alloc();
  --remaining;
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size, alignof(std::max_align_t)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

namespace tlk::test {
namespace {

std::string Repeat(std::size_t count, const std::function<std::string(std::size_t)>& piece) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += piece(i);
  return text;
}

std::string Nested(std::size_t depth, const std::string& inside) {
  return Repeat(depth, [](auto) { return "<a>"; }) + inside +
         Repeat(depth, [](auto) { return "</a>"; });
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

TEST(GateLimits, BoundTheDepth) {
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth, "")), "");
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth - 1, "<b/><b></b>")), "");
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth + 1, "")), "elements are nested too deeply");
  EXPECT_EQ(ReasonFor(Nested(kMaxXmlDepth, "<b/>")), "elements are nested too deeply");
}

TEST(GateLimits, BoundTheAttributesOfAnElement) {
  const std::string most = "<b" + Attributes(kMaxXmlAttributes) + "/>";
  EXPECT_EQ(ReasonFor("<a>" + most + most + "</a>"), "");
  EXPECT_EQ(ReasonFor("<a" + Attributes(kMaxXmlAttributes + 1) + "/>"), "too many attributes");
  EXPECT_EQ(ReasonFor("<a" + Attributes(kMaxXmlAttributes) + " xmlns='u'/>"),
            "too many attributes");
  EXPECT_EQ(ReasonFor("<a" + Attributes(kMaxXmlAttributes - 1) + " a7=''/>"),
            "attribute is there twice");
}

TEST(GateMemory, IsNotAllocatedForOrdinaryDocuments) {
  const std::string text =
      "<?xml version='1.0'?><TLK_Message Length='0000000' xmlns='' xmlns:p='urn:p' Type='x'>" +
      Repeat(200, [](auto) { return "<p:e xmlns:q='urn:q' q:a='' b='\xE4'>&amp;</p:e>"; }) +
      Nested(kMaxXmlDepth - 1, "") + "<b" + Attributes(kMaxXmlAttributes) + "/></TLK_Message>";
  ASSERT_EQ(ReasonFor(text), "");
  const std::size_t before = requested;
  const bool passed = Pass(text).Passed();
  EXPECT_EQ(requested, before);
  EXPECT_TRUE(passed);
}

TEST(GateMemory, ThatIsNotToBeHadIsAReasonToRefuse) {
  const std::string text = "<a" + Declarations(0, 1000) + "/>";
  const std::size_t before = requested;
  ASSERT_EQ(ReasonFor(text), "");
  const std::size_t needed = requested - before;
  EXPECT_GT(needed, 0U);
  for (std::size_t allowed = 0; allowed < needed; ++allowed) {
    remaining = allowed;
    const GateVerdict verdict = Pass(text);
    remaining = std::numeric_limits<std::size_t>::max();
    EXPECT_STREQ(verdict.reason, "not enough memory");
  }
}

// Done naively, each of these takes minutes and runs into the time limit of the test.
TEST(GateTime, StaysInProportionForHostileTexts) {
  const std::string longName(1000000, 'u');
  EXPECT_EQ(ReasonFor("<a xmlns:b='" + longName + "x' xmlns:c='" + longName + "y'>" +
                      Repeat(50000, [](auto) { return "<d b:x='' c:x=''/>"; }) + "</a>"),
            "");
  EXPECT_EQ(
      ReasonFor(Repeat(100, [](auto i) { return "<a" + Declarations(1000 * i, 1000) + ">"; }) +
                Repeat(50000, [](auto i) { return "<p" + std::to_string(i) + ":b/>"; }) +
                Repeat(100, [](auto) { return "</a>"; })),
      "");
}

}  // namespace
}  // namespace tlk::test
