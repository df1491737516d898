// A module that forks on the worker, and whose child returns into what its parent was doing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/support/RunProgram.h"

namespace {

using kiv_test::occurrences;
using kiv_test::ProgramResult;
using kiv_test::runProgram;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Way {
  const char* function;
  const char* windows;
  const char* end;

  // GoogleTest would print the addresses.
  friend std::ostream& operator<<(std::ostream& stream, const Way& way) {
    return stream << way.function << ' ' << way.windows << ' ' << way.end;
  }
};

class ForkOnWorker : public testing::TestWithParam<Way> {};

INSTANTIATE_TEST_SUITE_P(
    In, ForkOnWorker,
    testing::Values(Way{"createTelemetryHandler", "shared", "flush"},
                    Way{"createEvent", "shared", "flush"}, Way{"setInt64Field", "shared", "flush"},
                    Way{"reportEvent", "shared", "flush"}, Way{"reportEvent", "shared", "stop"},
                    Way{"reportEvent", "shared", "exit"},
                    Way{"createTelemetryHandler", "own", "flush"},
                    Way{"setInt64Field", "own", "flush"}, Way{"reportEvent", "own", "flush"},
                    Way{"reportEvent", "own", "stop"}),
    [](const auto& way) {
      return std::string(way.param.function) + "_" + way.param.windows + "_" + way.param.end;
    });

TEST_P(ForkOnWorker, TheChildSubmitsNothingOfItsParentsAndIsToldSo) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers' run-time libraries do not survive in the child";
#endif
  const Way& way = GetParam();
  const ProgramResult result =
      runProgram({FORK_ON_WORKER_PROGRAM, way.function, way.windows, way.end},
                 {{"LD_LIBRARY_PATH", HOOKED_MODULE_DIR}});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("flush in the child 0"), HasSubstr("the child ended with 0"),
                    Not(HasSubstr("of the child")), HasSubstr("reported immediate 1")));
  for (const char* line : {"reported a 2\n", "reported b 2\n", "reported c 2\n",
                           "reported float 1\n", "reported text 1\n"}) {
    EXPECT_EQ(occurrences(result.err, line), 1u) << line << result.err;
  }
}

}  // namespace
