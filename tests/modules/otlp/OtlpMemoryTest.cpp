// What the module makes of a want of memory, which this program brings about.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "LoadedModule.h"

namespace {

// Of the test's thread alone: the module's own goes on.
thread_local bool is_out_of_memory = false;

}  // namespace

// Not inlined: where only one of a pair is, the compiler takes them for a mismatch.
__attribute__((noinline)) void* operator new(size_t size) {
  void* const memory = is_out_of_memory ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }

__attribute__((noinline)) void operator delete(void* memory, size_t /*size*/) noexcept {
  std::free(memory);
}

namespace kiv_test {
namespace {

class OtlpMemory : public testing::Test {
 protected:
  OtlpMemory() {
    // Nothing is to be sent.
    setenv("OTEL_SDK_DISABLED", "true", 1);
    handler_ = module_.createHandler();
    event_ = module_.createEvent(*handler_, "event");
  }

  template <typename Call>
  static auto withoutMemory(Call call) {
    is_out_of_memory = true;
    const auto result = call();
    is_out_of_memory = false;
    return result;
  }

  const LoadedModule module_{OTLP_MODULE};
  HandlerPtr handler_{nullptr, {nullptr}};
  EventPtr event_{nullptr, {nullptr}};
};

TEST_F(OtlpMemory, SufficesForAnEventAsARule) {
  event_->setInt64Field("field", 1);
  EXPECT_TRUE(handler_->reportEvent(event_.get(), 1));
}

TEST_F(OtlpMemory, ThatIsMissingGivesNoHandler) {
  EXPECT_EQ(withoutMemory([&] { return module_.createTelemetryHandler(9); }), nullptr);
}

TEST_F(OtlpMemory, ThatIsMissingGivesNoEvent) {
  EXPECT_EQ(withoutMemory([&] { return handler_->createEvent("event"); }), nullptr);
}

TEST_F(OtlpMemory, ThatIsMissingForAReportRefusesIt) {
  event_->setStringField("field", "longer than what a string holds within itself");
  EXPECT_FALSE(withoutMemory([&] { return handler_->reportEvent(event_.get(), 1); }));
  EXPECT_TRUE(handler_->reportEvent(event_.get(), 1));
}

TEST_F(OtlpMemory, ThatIsMissingForAFieldRefusesTheEvent) {
  withoutMemory([&] {
    event_->setStringField("field", "longer than what a string holds within itself");
    return 0;
  });
  EXPECT_FALSE(handler_->reportEvent(event_.get(), 1));
}

}  // namespace
}  // namespace kiv_test
