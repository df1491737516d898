// Programs whose telemetry module lacks one of its functions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/support/RunProgram.h"

namespace {

using kiv_test::ProgramResult;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// Runs a program that reports every kind, with the module in the given directory.
ProgramResult reportEveryKindTo(const std::string& module) {
  const ProgramResult result =
      kiv_test::runProgram({EXIT_PROGRAM, "every-kind"},
                           {{"LD_LIBRARY_PATH", std::string(PARTIAL_MODULES_DIR) + "/" + module}});
  EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
  return result;
}

size_t count(const std::string& text, const std::string& part) {
  size_t found = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

TEST(PartialModule, WithoutTheFunctionThatCreatesHandlersNothingIsSubmitted) {
  const std::string err = reportEveryKindTo("LACKS_CREATE_HANDLER").err;
  EXPECT_THAT(err, HasSubstr("TAMSA loading module 'libtamsa.nebrik.so'"));
  EXPECT_THAT(err, Not(HasSubstr("not found")));
  EXPECT_THAT(err, Not(HasSubstr("reported")));
  EXPECT_THAT(err, Not(HasSubstr("destroyed")));
}

TEST(PartialModule, NamesTheMissingFunctionOnce) {
  const std::map<std::string, std::string> functions{
      {"LACKS_CREATE_HANDLER", "createTelemetryHandler"},
      {"LACKS_DESTROY_HANDLER", "destroyTelemetryHandler"},
      {"LACKS_DESTROY_EVENT", "destroyTelemetryEvent"}};
  for (const auto& [module, function] : functions) {
    const std::string err = reportEveryKindTo(module).err;
    EXPECT_EQ(count(err, "TAMSA module 'libtamsa.nebrik.so' has no function"), 1u) << err;
    EXPECT_THAT(err, ContainsRegex(" D .*TamsaLoader.*has no function '" + function + "'"));
  }
}

TEST(PartialModule, WithoutTheFunctionThatDestroysHandlersEverythingIsSubmitted) {
  const std::string err = reportEveryKindTo("LACKS_DESTROY_HANDLER").err;
  EXPECT_EQ(count(err, "reported"), 6u) << err;
  EXPECT_EQ(count(err, "destroyed an event"), 6u) << err;
}

TEST(PartialModule, WithoutTheFunctionThatDestroysEventsEverythingIsSubmitted) {
  const std::string err = reportEveryKindTo("LACKS_DESTROY_EVENT").err;
  EXPECT_EQ(count(err, "reported"), 6u) << err;
  EXPECT_EQ(count(err, "destroyed a handler"), 6u) << err;
}

}  // namespace
