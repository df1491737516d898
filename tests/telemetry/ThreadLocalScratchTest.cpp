#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "services/kiv/telemetry/ThreadLocalScratch.h"

namespace android::kiv::internal {
namespace {

/// A type per test, since threads keep an object of each.
template <int kTest>
struct Object {
  int value = 0;
};

template <int kTest>
Object<kTest> makeFresh() {
  return {};
}

TEST(ThreadLocalScratch, TheFirstOfAThreadIsFresh) {
  const ThreadLocalScratch<Object<1>> first(1, makeFresh<1>);
  EXPECT_EQ(first->value, 0);
}

TEST(ThreadLocalScratch, TheNextIsAsTheLastWasLeft) {
  const Object<2>* before = nullptr;
  {
    const ThreadLocalScratch<Object<2>> first(1, makeFresh<2>);
    first->value = 7;
    before = &*first;
  }
  const ThreadLocalScratch<Object<2>> next(1, makeFresh<2>);
  EXPECT_EQ(&*next, before);
  EXPECT_EQ(next->value, 7);
}

TEST(ThreadLocalScratch, OneInUseIsNobodyElses) {
  const ThreadLocalScratch<Object<3>> outer(1, makeFresh<3>);
  outer->value = 7;
  const ThreadLocalScratch<Object<3>> inner(1, makeFresh<3>);
  EXPECT_EQ(inner->value, 0);
}

TEST(ThreadLocalScratch, ALargeOneIsNotKept) {
  {
    ThreadLocalScratch<Object<4>>(ThreadLocalScratch<Object<4>>::kMaxKept + 1, makeFresh<4>)
        ->value = 7;
  }
  EXPECT_EQ(ThreadLocalScratch<Object<4>>(1, makeFresh<4>)->value, 0);
}

TEST(ThreadLocalScratch, EachThreadHasItsOwn) {
  { ThreadLocalScratch<Object<5>>(1, makeFresh<5>)->value = 7; }
  std::thread([] { EXPECT_EQ(ThreadLocalScratch<Object<5>>(1, makeFresh<5>)->value, 0); }).join();
}

/// Uses a scratch object when the thread ends, after the kept one was released: destructors
/// of thread-specific values run in the order in which their keys were made.
void useLate(void* seen) {
  *static_cast<int*>(seen) = ThreadLocalScratch<Object<6>>(1, makeFresh<6>)->value;
}

TEST(ThreadLocalScratch, IsThereForDestructorsAtAThreadsEnd) {
  int seen = -1;
  std::thread([&] {
    ThreadLocalScratch<Object<6>>(1, makeFresh<6>)->value = 7;
    pthread_key_t key{};
    ASSERT_EQ(pthread_key_create(&key, useLate), 0);
    ASSERT_EQ(pthread_setspecific(key, &seen), 0);
  }).join();
  EXPECT_EQ(seen, 0);
}

}  // namespace
}  // namespace android::kiv::internal
