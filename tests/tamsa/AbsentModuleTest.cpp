// The binding where no telemetry module is installed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>

#include "tamsa/ModuleReadiness.h"
#include "tamsa/Ptr.h"
#include "tamsa/SymbolCache.h"
#include "tamsa/UnifiedTelemetry.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/LogCapture.h"

/// Somebody else's function, which the process happens to have.
extern "C" __attribute__((visibility("default"))) void* createTelemetryHandler(
    int64_t /*version*/) {
  return nullptr;
}

namespace TAMSA {
namespace {

using kiv_test::LogCapture;
using kiv_test::LogLine;
using testing::ElementsAre;

using CreateHandler = Symbol::Cache<Symbol::kCreateTelemetryHandler, void*(int64_t)>;
using DestroyHandler =
    Symbol::Cache<Symbol::kDestroyTelemetryHandler, void(int64_t, void*) noexcept>;
using DestroyEvent = Symbol::Cache<Symbol::kDestroyTelemetryEvent, void(int64_t, void*) noexcept>;

TEST(AbsentModule, LeavesAllSymbolsNull) {
  EXPECT_EQ(CreateHandler::getCached(), nullptr);
  EXPECT_EQ(DestroyHandler::getCached(), nullptr);
  EXPECT_EQ(DestroyEvent::getCached(), nullptr);
}

TEST(AbsentModule, IsLoggedOncePerProcess) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    CreateHandler::getCached();
    DestroyHandler::getCached();
    DestroyEvent::getCached();
    CreateHandler::getCached();
    EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_DEBUG, "TamsaLoader",
                                                 "TAMSA loading module 'libtamsa.nebrik.so'"},
                                         LogLine{ANDROID_LOG_ERROR, "TamsaLoader",
                                                 "TAMSA module 'libtamsa.nebrik.so' not found"}));
  });
}

TEST(AbsentModule, IsReadyAfterTheThreadThatLookedForItWasCancelled) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    pthread_t thread{};
    const auto run = [](void* /*none*/) -> void* {
      pthread_cancel(pthread_self());
      // Writes log lines, which are cancellation points.
      UnifiedTelemetry::prepareModule(std::chrono::milliseconds::zero());
      pthread_testcancel();
      return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, run, nullptr), 0);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(UnifiedTelemetry::prepareModule(std::chrono::milliseconds::zero()));
  });
}

TEST(AbsentModule, GivesAnEmptyHandler) {
  EXPECT_FALSE(UnifiedTelemetry::v9::createTelemetryHandlerPtr());
  EXPECT_EQ(UnifiedTelemetry::v9::createTelemetryHandlerPtr().toShared(), nullptr);
}

TEST(AbsentModule, DestroyingWithoutTheFunctionLeavesTheObjectAlone) {
  int object = 7;
  internal::PtrFactory<int, Symbol::kDestroyTelemetryEvent, 7>::destroy(&object);
  EXPECT_EQ(object, 7);
}

}  // namespace
}  // namespace TAMSA
