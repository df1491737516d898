#include <dlfcn.h>
#include <gmock/gmock.h>

#include <string>

#include "tamsa/LinkerError.h"

namespace TAMSA::internal {
namespace {

using testing::HasSubstr;

constexpr char kModule[] = "libabsent_module.so";

TEST(LinkerError, ThatNamesTheModuleOnlyIsNotTakenIfNoDirectoryHasIt) {
  ASSERT_EQ(dlopen(kModule, RTLD_LAZY), nullptr);
  std::string error;
  takeLoadError(kModule, error);
  EXPECT_EQ(error, "");
}

TEST(LinkerError, ThatNamesAMissingLibraryIsTaken) {
  // As a module fails that is found but needs this library.
  ASSERT_EQ(dlopen("libabsent_dependency.so", RTLD_LAZY), nullptr);
  std::string error;
  takeLoadError(kModule, error);
  EXPECT_THAT(error, HasSubstr("libabsent_dependency.so"));
}

}  // namespace
}  // namespace TAMSA::internal
