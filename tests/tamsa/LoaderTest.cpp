#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tamsa/Loader.h"
#include "tamsa/SymbolCache.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"

namespace {

std::atomic<int> opened{0};
std::atomic<int> mode_of_open{0};
std::atomic<int> looked_up{0};
std::atomic<int> looked_up_without_error{0};
std::atomic<bool> error_cleared{false};

}  // namespace

extern "C" {

void* __real_dlopen(const char* name, int mode);
void* __wrap_dlopen(const char* name, int mode) {
  if (name != nullptr && std::strcmp(name, "libtamsa.nebrik.so") == 0) {
    ++opened;
    mode_of_open = mode;
  }
  return __real_dlopen(name, mode);
}

void* __real_dlsym(void* handle, const char* name);
void* __wrap_dlsym(void* handle, const char* name) {
  if (handle != RTLD_DEFAULT) {
    ++looked_up;
    if (error_cleared) ++looked_up_without_error;
  }
  error_cleared = false;
  return __real_dlsym(handle, name);
}

char* __real_dlerror();
char* __wrap_dlerror() {
  error_cleared = true;
  return __real_dlerror();
}

}  // extern "C"

namespace TAMSA {
namespace {

using kiv_test::Latch;
using kiv_test::LogCapture;
using kiv_test::LogLine;
using testing::ElementsAre;

const LogLine kLoading{ANDROID_LOG_DEBUG, "TamsaLoader",
                       "TAMSA loading module 'libtamsa.nebrik.so'"};

using CreateHandler = Symbol::Cache<Symbol::kCreateTelemetryHandler, void*(int64_t)>;
using DestroyHandler =
    Symbol::Cache<Symbol::kDestroyTelemetryHandler, void(int64_t, void*) noexcept>;
using DestroyEvent = Symbol::Cache<Symbol::kDestroyTelemetryEvent, void(int64_t, void*) noexcept>;

constexpr char kNoSuchFunction[] = "noSuchFunction";

TEST(Loader, OpensTheModuleLazilyOnFirstNeed) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    EXPECT_EQ(opened, 0);
    internal::Loader::getInstance().loadModule();
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(mode_of_open, RTLD_LAZY);
  });
}

TEST(Loader, LogsTheOneAttemptAndNothingElse) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    internal::Loader::getInstance().loadModule();
    internal::Loader::getInstance().loadModule();
    EXPECT_THAT(log.lines(), ElementsAre(kLoading));
  });
}

TEST(SymbolCache, ResolvesTheModulesThreeFunctions) {
  EXPECT_NE(CreateHandler::getCached(), nullptr);
  EXPECT_NE(DestroyHandler::getCached(), nullptr);
  EXPECT_NE(DestroyEvent::getCached(), nullptr);
}

TEST(SymbolCache, OpensTheModuleOnceForAllSymbols) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    CreateHandler::getCached();
    DestroyEvent::getCached();
    DestroyHandler::getCached();
    EXPECT_EQ(opened, 1);
    EXPECT_THAT(log.lines(), ElementsAre(kLoading));
  });
}

TEST(SymbolCache, LooksEachSymbolUpOnce) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    for (int i = 0; i < 3; ++i) {
      CreateHandler::getCached();
      DestroyEvent::getCached();
    }
    EXPECT_EQ(looked_up, 2);
  });
}

TEST(SymbolCache, ConcurrentFirstCallersCauseOneAttemptAndOneLookup) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    Latch go;
    std::atomic<int> resolved{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([&] {
        go.wait();
        if (CreateHandler::getCached() != nullptr) ++resolved;
      });
    }
    go.countDown();
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(resolved, 2);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(looked_up, 1);
    EXPECT_THAT(log.lines(), ElementsAre(kLoading));
  });
}

TEST(SymbolCache, IsNullForGoodForAMissingSymbol) {
  using Missing = Symbol::Cache<kNoSuchFunction, void()>;
  EXPECT_EQ(Missing::getCached(), nullptr);
  const int before = looked_up;
  EXPECT_EQ(Missing::getCached(), nullptr);
  EXPECT_EQ(looked_up, before);
}

TEST(SymbolCache, ClearsAPendingLinkerErrorBeforeEachLookup) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    CreateHandler::getCached();
    DestroyHandler::getCached();
    DestroyEvent::getCached();
    EXPECT_EQ(looked_up_without_error, 3);
  });
}

}  // namespace
}  // namespace TAMSA
