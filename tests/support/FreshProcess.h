/// Tests of what happens only once per process.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

/// Runs a statement in a new process, in which only the code of this test has run before. Fails if
/// an expectation fails there.
#define KIV_EXPECT_IN_FRESH_PROCESS(...)                  \
  do {                                                    \
    GTEST_FLAG_SET(death_test_style, "threadsafe");       \
    EXPECT_EXIT(                                          \
        {                                                 \
          __VA_ARGS__;                                    \
          std::exit(testing::Test::HasFailure() ? 1 : 0); \
        },                                                \
        testing::ExitedWithCode(0), "");                  \
  } while (false)
