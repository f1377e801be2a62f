#include "thread/ZRefCount.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <utility>

namespace tlk {
namespace {

class Counted : public ZRefCounted {
 public:
  explicit Counted(int& ends) : m_ends(ends) {}
  ~Counted() override { ++m_ends; }

 private:
  int& m_ends;
};

class Finalized : public ZRefCountedWithFinalization {
 public:
  explicit Finalized(int& ends) : m_ends(ends) {}
  ~Finalized() override { ++m_ends; }

 private:
  int& m_ends;
};

/// Stays when its last reference goes, so that a dead object can be looked at.
class Kept : public ZRefCountedWithFinalization {
 public:
  void Finalize() override { ++finalized; }
  int finalized = 0;
  int value = 7;
};

class MoreKept : public Kept {};

template <typename T>
class ZRefLife : public testing::Test {};
using Bases = testing::Types<Counted, Finalized>;
TYPED_TEST_SUITE(ZRefLife, Bases);

TYPED_TEST(ZRefLife, EndsTheObjectWithItsLastReference) {
  int ends = 0;
  {
    ZRef<TypeParam> first(new TypeParam(ends));
    EXPECT_EQ(first.Get()->References(), 1);
    ZRef<TypeParam> second = first;
    EXPECT_EQ(second->References(), 2);
    const ZRef<TypeParam> third = std::move(second);
    EXPECT_EQ(third->References(), 2);
    EXPECT_FALSE(second);  // NOLINT(bugprone-use-after-move): a moved-from reference is to none.
    const ZRef<TypeParam>& same = first;
    first = same;
    EXPECT_EQ(third->References(), 2);
    first = ZRef<TypeParam>();
    EXPECT_EQ(third->References(), 1);
    EXPECT_EQ(ends, 0);
  }
  EXPECT_EQ(ends, 1);
}

TEST(ZRef, ConvertsToTheBaseAndCompares) {
  MoreKept object;
  const ZRef<MoreKept> derived(&object);
  const ZRef<Kept> base = derived;
  EXPECT_EQ(base.Get(), &object);
  EXPECT_EQ((*base).value, 7);
  EXPECT_EQ(object.References(), 2);
  EXPECT_TRUE(base == ZRef<Kept>(&object));
  EXPECT_FALSE(base == ZRef<Kept>());
}

TEST(ZRef, FinalizesOnceWhenTheCountComesToNothing) {
  Kept object;
  { const ZRef<Kept> reference(&object); }
  EXPECT_EQ(object.finalized, 1);
  object.AddReference();
  EXPECT_EQ(object.finalized, 1);
  object.DropReference();
  EXPECT_EQ(object.finalized, 2);
}

TEST(ZRef, FinalizeDestroysANewObject) {
  int ends = 0;
  (new Finalized(ends))->Finalize();
  EXPECT_EQ(ends, 1);
}

TEST(ZRef, CountsReferencesFromManyThreads) {
  int ends = 0;
  {
    const ZRef<Counted> shared(new Counted(ends));
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
      thread = std::jthread([mine = shared] {
        for (int n = 0; n < 10'000; ++n) {
          ZRef<Counted> copy = mine;
          copy = ZRef<Counted>();
        }
      });
    }
  }
  EXPECT_EQ(ends, 1);
}

TEST(ZRef, DereferencingNoneGivesNull) {
  const ZRef<Kept> none;
  EXPECT_EQ(none.operator->(), nullptr);
}

class ZRefDeathTest : public testing::Test {
 protected:
  // The reference's own drop at the end of the test then gives -2, which finalises nothing.
  void DropTo(int count) {
    while (m_object.References() > count) m_object.DropReference();
  }

  static constexpr const char* kAccessed =
      "^ZRef accessed with nil object or invalid reference count, ZRefCount:";
  Kept m_object;
  ZRef<Kept> m_reference{&m_object};
};

TEST_F(ZRefDeathTest, EndsTheProcessOnAccessToNone) {
  const ZRef<Kept> none;
  EXPECT_EXIT((void)none.Get(), testing::ExitedWithCode(0), std::string(kAccessed) + "39\n$");
  EXPECT_EXIT((void)*none, testing::ExitedWithCode(0), std::string(kAccessed) + "65\n$");
}

TEST_F(ZRefDeathTest, EndsTheProcessOnAccessToADeadObject) {
  DropTo(0);
  EXPECT_EXIT((void)m_reference.Get(), testing::ExitedWithCode(0),
              std::string(kAccessed) + "39\n$");
  EXPECT_EXIT((void)*m_reference, testing::ExitedWithCode(0), std::string(kAccessed) + "65\n$");
}

TEST_F(ZRefDeathTest, EndsTheProcessOnDereferencingADeadObject) {
  DropTo(-1);
  EXPECT_EXIT((void)m_reference->value, testing::ExitedWithCode(0),
              "^ZRef dereferenced with nil object or invalid reference count, ZRefCount:45\n$");
}

}  // namespace
}  // namespace tlk
