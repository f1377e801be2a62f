// Memory runs out, once at every place where some is asked for.

#include <cstdlib>
#include <new>
#include <pugixml.hpp>

#include "tests/xml/CodecTest.h"

namespace {

// How many more allocations succeed; negative for all of them.
thread_local int t_allocationsLeft = -1;

bool MayAllocate() { return t_allocationsLeft < 0 || t_allocationsLeft-- > 0; }

void* Allocate(std::size_t size) {
  return MayAllocate() ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace tlk {
namespace {

class AllocationTest : public CodecTest {
 protected:
  void SetUp() override { pugi::set_memory_management_functions(Allocate, std::free); }
  void TearDown() override {
    t_allocationsLeft = -1;
    pugi::set_memory_management_functions(std::malloc, std::free);
  }

  /// Runs an operation with ever more memory until it has enough, and returns how often it had not.
  /// The operation tells whether all that it got was right; tests may not ask for memory meanwhile.
  template <typename Operation>
  int FailOneByOne(Operation operation) {
    for (int given = 0;; ++given) {
      t_allocationsLeft = given;
      const bool right = operation();
      const bool enough = t_allocationsLeft > 0;
      t_allocationsLeft = -1;
      EXPECT_TRUE(right) << "with " << given << " allocations";
      if (enough) return given;
    }
  }
};
INSTANTIATE_TEST_SUITE_P(Doms, AllocationTest, testing::Values(kPugixml), DomName);

const std::string kPayload =
    "<caf\xE9 xmlns:p='urn:p'>" + std::string(200, '\xFC') + "<p:a/></caf\xE9>";

TEST_P(AllocationTest, BuildsAllOrFails) {
  std::string xml;
  int failures = 0;
  const std::string shown = ShownBy([&] {
    failures = FailOneByOne([&] {
      TLK_XMLBuilder builder({*m_real, m_text, m_gate, m_log});
      const bool created = builder.CreateMessage("Chat", 1, 0) == 0;
      builder.AppendData(kPayload);
      builder.SetLength();
      const bool written = builder.GetXml(xml) == 0;
      return created == builder.HasDocument() && (created || !written);
    });
  });
  EXPECT_GT(failures, 5);
  EXPECT_NE(shown, "");
  EXPECT_NE(xml.find("<p:a/>"), std::string::npos);
}

TEST_P(AllocationTest, ReadsAllOrFails) {
  const std::string message = "<m Type='t\xE9'><To Id='3'/><Data>" + kPayload + "</Data></m>";
  std::string data;
  int failures = 0;
  const std::string shown = ShownBy([&] {
    failures = FailOneByOne([&] {
      TLK_XMLParser parser({*m_real, m_text, m_gate, m_log}, message);
      std::string type = "before";
      std::int32_t id = -5;
      const bool hasType = parser.GetType(type) == 0;
      const bool hasId = parser.GetReceiverId(id) == 0;
      parser.GetNode("/m/Data[caf\xE9]", data, false);
      parser.GetData(data);
      return type == (hasType ? "t\xE9" : "before") && id == (hasId ? 3 : -5);
    });
  });
  EXPECT_GT(failures, 5);
  EXPECT_NE(shown, "");
  EXPECT_NE(data.find("<p:a/>"), std::string::npos);
}

}  // namespace
}  // namespace tlk
