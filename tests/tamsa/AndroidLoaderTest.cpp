// The loader's road on Android, where modules are opened in the platform's linker namespace. This
// program supplies the two functions of Android's linker.
#include <android/dlext.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tamsa/Loader.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"

namespace {

/// A linker that records its calls, and the results that it returns.
struct Linker {
  std::vector<std::string> asked_namespaces;
  std::vector<std::string> opened_in_namespace;
  std::vector<std::string> opened_plainly;
  int mode = -1;
  android_dlextinfo info{};
  android_namespace_t* platform_namespace = nullptr;
  void* module = nullptr;
  bool finds_no_library = false;  // a file that is not a library is in the namespace
};

Linker linker;
int some_namespace;
int some_module;

/// A file that is not a library.
constexpr char kNoLibrary[] = "/dev/null";

}  // namespace

extern "C" {

void* __real_dlopen(const char* name, int mode);

__attribute__((visibility("default"))) android_namespace_t* __loader_android_get_exported_namespace(
    const char* name) {
  linker.asked_namespaces.emplace_back(name);
  return linker.platform_namespace;
}

__attribute__((visibility("default"))) void* android_dlopen_ext(const char* name, int mode,
                                                                const android_dlextinfo* info) {
  linker.opened_in_namespace.emplace_back(name);
  linker.mode = mode;
  linker.info = *info;
  if (linker.finds_no_library) return __real_dlopen(kNoLibrary, mode);
  return linker.module;
}

void* __wrap_dlopen(const char* name, int mode) {
  if (name == nullptr || std::strcmp(name, "libtamsa.nebrik.so") != 0) {
    return __real_dlopen(name, mode);
  }
  linker.opened_plainly.emplace_back(name);
  return __real_dlopen(name, mode);
}

}  // extern "C"

namespace TAMSA::internal {
namespace {

using kiv_test::Latch;
using kiv_test::LogCapture;
using kiv_test::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

const LogLine kLoading{ANDROID_LOG_DEBUG, "TamsaLoader",
                       "TAMSA loading module 'libtamsa.nebrik.so'"};
const LogLine kNotFound{ANDROID_LOG_ERROR, "TamsaLoader",
                        "TAMSA module 'libtamsa.nebrik.so' not found"};

auto* const kNamespace = reinterpret_cast<android_namespace_t*>(&some_namespace);

TEST(AndroidLoader, OpensTheModuleInThePlatformsNamespace) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    linker.platform_namespace = kNamespace;
    linker.module = &some_module;
    Loader::getInstance().loadModule();
    EXPECT_THAT(linker.asked_namespaces, ElementsAre("default"));
    EXPECT_THAT(linker.opened_in_namespace, ElementsAre("libtamsa.nebrik.so"));
    EXPECT_THAT(linker.opened_plainly, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(kLoading));
  });
}

TEST(AndroidLoader, AsksForTheNamespaceAndForNothingElse) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    linker.platform_namespace = kNamespace;
    linker.module = &some_module;
    Loader::getInstance().loadModule();
    EXPECT_EQ(linker.mode, 1);
    EXPECT_EQ(linker.info.flags, 0x200u);
    EXPECT_EQ(linker.info.library_namespace, kNamespace);
    EXPECT_EQ(linker.info.reserved_addr, nullptr);
    EXPECT_EQ(linker.info.reserved_size, 0u);
    EXPECT_EQ(linker.info.relro_fd, 0);
    EXPECT_EQ(linker.info.library_fd, 0);
    EXPECT_EQ(linker.info.library_fd_offset, 0);
  });
}

TEST(AndroidLoader, FallsBackToPlainOpeningWithoutANamespace) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    Loader::getInstance().loadModule();
    EXPECT_THAT(linker.asked_namespaces, ElementsAre("default"));
    EXPECT_THAT(linker.opened_in_namespace, IsEmpty());
    EXPECT_THAT(linker.opened_plainly, ElementsAre("libtamsa.nebrik.so"));
    EXPECT_THAT(log.lines(), ElementsAre(kLoading, kNotFound));
  });
}

TEST(AndroidLoader, FallsBackToPlainOpeningWhenTheNamespaceLacksTheModule) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    linker.platform_namespace = kNamespace;
    Loader::getInstance().loadModule();
    EXPECT_THAT(linker.opened_in_namespace, ElementsAre("libtamsa.nebrik.so"));
    EXPECT_THAT(linker.opened_plainly, ElementsAre("libtamsa.nebrik.so"));
    EXPECT_THAT(log.lines(), ElementsAre(kLoading, kNotFound));
  });
}

TEST(AndroidLoader, ExplainsWhyTheModuleInTheNamespaceCannotBeLoaded) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    linker.platform_namespace = kNamespace;
    linker.finds_no_library = true;
    Loader::getInstance().loadModule();
    EXPECT_THAT(
        log.lines(),
        ElementsAre(kLoading, kNotFound,
                    LogLine{ANDROID_LOG_DEBUG, "TamsaLoader",
                            "TAMSA module 'libtamsa.nebrik.so' cannot be loaded: /dev/null: file "
                            "too short"}));
  });
}

TEST(AndroidLoader, TwoThreadsAtOnceMakeOneAttempt) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const LogCapture log;
    linker.platform_namespace = kNamespace;
    Latch go;
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
      threads.emplace_back([&] {
        go.wait();
        Loader::getInstance().loadModule();
      });
    }
    go.countDown();
    for (auto& thread : threads) thread.join();
    EXPECT_THAT(linker.opened_in_namespace, ElementsAre("libtamsa.nebrik.so"));
    EXPECT_THAT(linker.opened_plainly, ElementsAre("libtamsa.nebrik.so"));
    EXPECT_THAT(log.lines(), ElementsAre(kLoading, kNotFound));
  });
}

}  // namespace
}  // namespace TAMSA::internal
