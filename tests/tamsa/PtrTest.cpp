#include <gtest/gtest.h>

#include <type_traits>

#include "tamsa/Ptr.h"

namespace TAMSA {
namespace {

int destroyed = 0;

void countDestroyed(int* /*object*/) { ++destroyed; }

class PtrTest : public testing::Test {
 protected:
  PtrTest() { destroyed = 0; }

  int object = 0;
};

TEST_F(PtrTest, CanBeMovedAndNotCopied) {
  static_assert(!std::is_copy_constructible_v<Ptr<int>>);
  static_assert(!std::is_copy_assignable_v<Ptr<int>>);
  Ptr<int> first(&object, countDestroyed);
  const Ptr<int> second = std::move(first);
  EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(second);
}

TEST_F(PtrTest, DestroysItsObjectOnce) {
  {
    Ptr<int> first(&object, countDestroyed);
    const Ptr<int> second = std::move(first);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST_F(PtrTest, DestroysItsObjectWhenAnotherTakesItsPlace) {
  int another = 0;
  Ptr<int> pointer(&object, countDestroyed);
  pointer = Ptr<int>(&another, countDestroyed);
  EXPECT_EQ(destroyed, 1);
}

Ptr<int>* asked = nullptr;
const int* held_meanwhile = nullptr;

TEST_F(PtrTest, HoldsTheNewObjectWhileTheOldOneIsDestroyed) {
  int another = 0;
  Ptr<int> pointer(&object, [](int* /*object*/) { held_meanwhile = asked->get(); });
  asked = &pointer;
  pointer = Ptr<int>(&another, countDestroyed);
  EXPECT_EQ(held_meanwhile, &another);
  EXPECT_EQ(destroyed, 0);
}

TEST_F(PtrTest, TheLastSharedOwnerDestroysTheObject) {
  auto first = Ptr<int>(&object, countDestroyed).toShared();
  auto second = first;
  first.reset();
  EXPECT_EQ(destroyed, 0);
  second.reset();
  EXPECT_EQ(destroyed, 1);
}

TEST_F(PtrTest, AnEmptyOneGivesAnEmptySharedPointer) {
  EXPECT_EQ(Ptr<int>().toShared(), nullptr);
  EXPECT_EQ(Ptr<int>(nullptr, countDestroyed).toShared().use_count(), 0);
  EXPECT_EQ(destroyed, 0);
}

TEST_F(PtrTest, WithoutADestroyingFunctionTheObjectIsLeftAlone) {
  auto shared = Ptr<int>(&object, nullptr).toShared();
  EXPECT_EQ(shared.get(), &object);
  shared.reset();
  EXPECT_EQ(destroyed, 0);
}

}  // namespace
}  // namespace TAMSA
