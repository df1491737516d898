// The promised surface of the libraries. A difference is either a mistake or a decision: if it is
// one, `./dev exports` records it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "RunProgram.h"

namespace {

using kiv_test::readFile;
using kiv_test::runProgram;
using testing::ContainerEq;
using testing::Contains;
using testing::HasSubstr;
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

std::set<std::string> promised(const std::string& list) {
  return linesOf(readFile(EXPORTS_DIR "/" + list));
}

TEST(Exports, TelemetryExportsWhatItPromises) {
  EXPECT_THAT(exportsOf(KIVTELEMETRY), ContainerEq(promised("kivtelemetry.txt")));
}

TEST(Exports, CommonExportsWhatItPromises) {
  EXPECT_THAT(exportsOf(KIVCOMMON), ContainerEq(promised("kivcommon.txt")));
}

TEST(Exports, FormatNamesAreExportedUnderTheirPlainName) {
  EXPECT_THAT(exportsOf(KIVTELEMETRY), Contains("audio_format_to_string"));
}

TEST(Exports, CreatingLoggersIsInternal) {
  EXPECT_THAT(exportsOf(KIVTELEMETRY), Not(Contains(HasSubstr("createLogger"))));
}

}  // namespace
