// The shipped library beside stubs that have only what it may take from others.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/RunProgram.h"

namespace {

using kiv_test::runProgram;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The loader's path with the stubs before all others: a cross-built program names a log of its
/// own.
std::string pathWithStubs() {
  const char* const path = std::getenv("LD_LIBRARY_PATH");
  return std::string(STUBS_DIR) + (path != nullptr ? std::string(":") + path : std::string());
}

TEST(Imports, TheLibraryWorksBesideStubsWithAllSymbolsBoundAtOnce) {
  const auto result =
      runProgram({STUB_CLIENT}, {{"LD_BIND_NOW", "1"}, {"LD_LIBRARY_PATH", pathWithStubs()}});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "stub log: 6 class: api - code\n");
}

TEST(Imports, TheStubsHaveAllThatIsTakenFromAndroidAndTheFamily) {
  const auto result = runProgram({CHECK_IMPORTS, KIVTELEMETRY, KIVCOMMON_STUB, LOG_STUB});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.err, IsEmpty());
  EXPECT_THAT(result.out,
              HasSubstr("liblog.so.0:\n  __android_log_assert\n  __android_log_print\n"));
}

TEST(Imports, WhatACommonLibraryLacksIsNamed) {
  const auto result =
      runProgram({CHECK_IMPORTS, KIVTELEMETRY, KIVCOMMON_STUB_WITHOUT_ASSERTIONS, LOG_STUB});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.err,
            "check-imports: libkivtelemetry.so needs what none of the given libraries has: "
            "android::kiv::logAssertionErrorCode(char const*, char const*, char const*, int)\n");
}

/// A forked child hangs on the lock of a static variable that another thread of its parent was
/// initializing.
TEST(Imports, NoStaticVariableIsInitializedUnderALock) {
  for (const char* const library : {KIVTELEMETRY, KIVCOMMON}) {
    const auto result = runProgram({"/usr/bin/nm", "-D", "--undefined-only", library});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("atfork"));
    EXPECT_THAT(result.out, Not(HasSubstr("__cxa_guard_acquire"))) << library;
  }
}

}  // namespace
