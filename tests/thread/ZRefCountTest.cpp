#include "thread/ZRefCount.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

namespace tlk {

template <typename Base>
struct Ending : Base {
  ~Ending() override { ++ends; }
  static inline int ends = 0;
};

template <typename Base>
class ZRefLife : public testing::Test {};
using Bases = testing::Types<ZRefCounted, ZRefCountedWithFinalization>;
TYPED_TEST_SUITE(ZRefLife, Bases);

TYPED_TEST(ZRefLife, EndsTheObjectWithItsLastReferenceOnWhateverThread) {
  using Object = Ending<TypeParam>;
  {
    ZRef<Object> first(new Object);
    EXPECT_EQ(first.Get()->References(), 1);
    ZRef<TypeParam> second = first;
    EXPECT_EQ(second->References(), 2);
    const ZRef<TypeParam> third = std::move(second);
    EXPECT_FALSE(second);  // NOLINT(bugprone-use-after-move): a moved-from reference is to none.
    EXPECT_TRUE(third == first);
    first = {};
    EXPECT_EQ(third->References(), 1);
    std::jthread([mine = third] { EXPECT_EQ(mine->References(), 2); }).join();
    EXPECT_EQ(Object::ends, 0);
  }
  EXPECT_EQ(Object::ends, 1);
}

/// Stays when its last reference goes, so that a dead object can be looked at.
struct Kept : ZRefCountedWithFinalization {
  void Finalize() override { ++finalized; }
  int finalized = 0;
};

TEST(ZRefDeathTest, EndsTheProcessOnAccessToNoneOrToADeadObject) {
  const std::string accessed =
      "^ZRef accessed with nil object or invalid reference count, ZRefCount:";
  Kept object;
  const ZRef<Kept> dead(&object);
  object.DropReference();
  EXPECT_EQ(object.finalized, 1);
  const ZRef<Kept> none;
  for (const ZRef<Kept>* reference : {&dead, &none}) {
    EXPECT_EXIT((void)reference->Get(), testing::ExitedWithCode(0), accessed + "39\n$");
    EXPECT_EXIT((void)**reference, testing::ExitedWithCode(0), accessed + "65\n$");
  }
  object.DropReference();
  EXPECT_EXIT((void)dead->finalized, testing::ExitedWithCode(0),
              "^ZRef dereferenced with nil object or invalid reference count, ZRefCount:45\n$");
  EXPECT_EQ(none.operator->(), nullptr);  // Of none, that check knows nothing.
}

}  // namespace tlk
