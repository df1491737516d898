// The log lines about a telemetry module that is there but cannot be loaded.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/RunProgram.h"

namespace {

using kiv_test::ProgramResult;
using kiv_test::readFile;
using kiv_test::TemporaryDirectory;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Matcher;
using testing::StartsWith;

const std::string kFile = "libtamsa.nebrik.so";

// Positions in the header of an ELF file.
constexpr size_t kClass = 4;
constexpr size_t kMachine = 18;

/// Runs a program that reports every kind and shows lines of all priorities. Returns the loader's
/// lines.
std::vector<std::string> loaderLines(const std::string& library_path,
                                     const std::string& working_directory = "/") {
  // The shell is not the program under test, and is not run with the library path.
  std::vector<std::string> command{"/bin/sh", "-c",
                                   R"(cd "$0" && LD_LIBRARY_PATH=$PATH_UNDER_TEST exec "$@")",
                                   working_directory};
  for (const std::string& word : kiv_test::underEmulator({EXIT_PROGRAM, "every-kind"})) {
    command.push_back(word);
  }
  const ProgramResult result = kiv_test::runProgram(command, {{"PATH_UNDER_TEST", library_path}});
  EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
  std::vector<std::string> lines;
  std::istringstream err(result.err);
  for (std::string line; std::getline(err, line);) {
    if (line.find("TamsaLoader") != std::string::npos) lines.push_back(line);
  }
  return lines;
}

const Matcher<std::string> kLoading =
    AllOf(StartsWith("TamsaLoader D "), EndsWith(" TAMSA loading module 'libtamsa.nebrik.so'"));
const Matcher<std::string> kNotFound =
    AllOf(StartsWith("TamsaLoader E "), EndsWith(" TAMSA module 'libtamsa.nebrik.so' not found"));

/// The line with the dynamic linker's text, of which the end is given.
Matcher<std::string> cannotBeLoaded(const std::string& end) {
  return AllOf(StartsWith("TamsaLoader D "),
               HasSubstr(" TAMSA module 'libtamsa.nebrik.so' cannot be loaded: "), EndsWith(end));
}

class UnloadableModuleTest : public testing::Test {
 protected:
  void writeModule(const std::string& contents) {
    std::ofstream(path.file(kFile), std::ios::binary) << contents;
  }

  /// Writes a module that could be loaded but for one byte.
  void writeModuleWith(size_t position, char byte) {
    std::string contents =
        readFile(std::string(PARTIAL_MODULES_DIR) + "/LACKS_DESTROY_EVENT/" + kFile);
    ASSERT_GT(contents.size(), position);
    ASSERT_NE(contents[position], byte);
    contents[position] = byte;
    writeModule(contents);
  }

  const TemporaryDirectory path;
};

TEST_F(UnloadableModuleTest, AnAbsentModuleLeavesTwoLines) {
  EXPECT_THAT(loaderLines(path.file("")), ElementsAre(kLoading, kNotFound));
}

TEST_F(UnloadableModuleTest, AModuleForAnotherProcessorIsNotCalledAbsent) {
  constexpr char kEmRiscv = '\xf3';
  writeModuleWith(kMachine, kEmRiscv);
  EXPECT_THAT(
      loaderLines(path.file("")),
      ElementsAre(kLoading, kNotFound,
                  cannotBeLoaded(" " + kFile +
                                 ": cannot open shared object file: No such file or directory")));
}

TEST_F(UnloadableModuleTest, AModuleForAnotherWordSizeIsNotCalledAbsent) {
  constexpr char kOther = sizeof(void*) == 8 ? 1 : 2;
  writeModuleWith(kClass, kOther);
  const std::string name = sizeof(void*) == 8 ? "ELFCLASS32" : "ELFCLASS64";
  EXPECT_THAT(
      loaderLines(path.file("")),
      ElementsAre(kLoading, kNotFound, cannotBeLoaded(" " + kFile + ": wrong ELF class: " + name)));
}

TEST_F(UnloadableModuleTest, AFileThatIsNotALibraryIsNotCalledAbsent) {
  writeModule(std::string(4096, 'x'));
  EXPECT_THAT(
      loaderLines(path.file("")),
      ElementsAre(kLoading, kNotFound, cannotBeLoaded("/" + kFile + ": invalid ELF header")));
}

TEST_F(UnloadableModuleTest, AFileInTheWorkingDirectoryIsNotCalledAbsent) {
  writeModule(std::string(4096, 'x'));
  EXPECT_THAT(
      loaderLines(":", path.file("")),
      ElementsAre(kLoading, kNotFound, cannotBeLoaded(" " + kFile + ": invalid ELF header")));
}

TEST_F(UnloadableModuleTest, AMissingSymbolIsNamed) {
  EXPECT_THAT(loaderLines(std::string(PARTIAL_MODULES_DIR) + "/LACKS_VARIABLE"),
              ElementsAre(kLoading, kNotFound,
                          cannotBeLoaded("/" + kFile + ": undefined symbol: absent_variable")));
}

TEST_F(UnloadableModuleTest, AMissingLibraryIsNamed) {
  EXPECT_THAT(
      loaderLines(std::string(PARTIAL_MODULES_DIR) + "/LACKS_LIBRARY"),
      ElementsAre(kLoading, kNotFound,
                  cannotBeLoaded(" libabsent_library.so: cannot open shared object file: No "
                                 "such file or directory")));
}

}  // namespace
