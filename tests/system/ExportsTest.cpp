// The promised surface of the libraries. A difference is either a mistake or a decision: if it is
// one, `./dev abi` records it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>
#include <vector>

#include "tests/support/RunProgram.h"

namespace {

using kiv_test::readFile;
using kiv_test::runProgram;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::set<std::string> linesOf(const std::string& text) {
  std::set<std::string> lines;
  std::istringstream stream(text);
  std::string line;
  while (std::getline(stream, line)) lines.insert(line);
  return lines;
}

std::set<std::string> exportsOf(const std::string& library) {
  const auto result = runProgram({LIST_EXPORTS, library});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  return linesOf(result.out);
}

/// Expects a library to export exactly the names in a list.
void expectExports(const std::string& library, const std::string& list) {
  const std::set<std::string> actual = exportsOf(library);
  const std::set<std::string> promised = linesOf(readFile(EXPORTS_DIR "/" + list));
  ASSERT_THAT(promised, Not(IsEmpty()));
  std::vector<std::string> missing;
  std::set_difference(promised.begin(), promised.end(), actual.begin(), actual.end(),
                      std::back_inserter(missing));
  std::vector<std::string> unexpected;
  std::set_difference(actual.begin(), actual.end(), promised.begin(), promised.end(),
                      std::back_inserter(unexpected));
  EXPECT_THAT(missing, IsEmpty());
  EXPECT_THAT(unexpected, IsEmpty());
}

TEST(Exports, TelemetryExportsWhatItPromises) { expectExports(KIVTELEMETRY, "kivtelemetry.txt"); }

TEST(Exports, CommonExportsWhatItPromises) { expectExports(KIVCOMMON, "kivcommon.txt"); }

TEST(Exports, FormatNamesAreExportedUnderTheirPlainName) {
  EXPECT_THAT(exportsOf(KIVTELEMETRY), Contains("audio_format_to_string"));
}

TEST(Exports, CreatingLoggersIsInternal) {
  EXPECT_THAT(exportsOf(KIVTELEMETRY), Not(Contains(HasSubstr("createLogger"))));
}

}  // namespace
