/// Tests of what happens once per process.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

/// Runs a statement in a process of its own, in which nothing has been used yet but what the test
/// itself did before, and fails if an expectation failed there.
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
