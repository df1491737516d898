# Debian packages, one per component: `cpack -G DEB` in a build that was configured with
# -DCMAKE_INSTALL_PREFIX=/usr.
set(CPACK_PACKAGE_VENDOR "the developers of libkivtelemetry")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development modules)
if(KIV_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkivtelemetry${KIV_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "libkivtelemetry and libkivcommon, for programs that report.")
# Found out from what the libraries link to.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkivtelemetry-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake and pkg-config files, the test kit, and docs.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "android-liblog-dev, android-libutils-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libgmock-dev")

set(CPACK_DEBIAN_MODULES_PACKAGE_NAME libkivtelemetry-modules)
set(CPACK_DEBIAN_MODULES_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_MODULES_DESCRIPTION "Telemetry modules: files of JSON lines, and OpenTelemetry Collectors.")
set(CPACK_DEBIAN_MODULES_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kivtelemetry-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "python3 (>= 3.9)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "lnav, python3-tqdm")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "kiv-telemetry-report, and a format for the log viewer lnav.")

set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
include(CPack)
