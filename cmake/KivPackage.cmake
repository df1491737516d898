# The installed package: find_package(kivtelemetry CONFIG) and kivtelemetry.pc.
include(CMakePackageConfigHelpers)

set(KIV_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/kivtelemetry")

install(
  TARGETS kivcommon kivtelemetry
  EXPORT kivtelemetryTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(
  DIRECTORY services/kiv/common/include/kiv services/kiv/telemetry/include/kiv
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING
  PATTERN "*.h")
install(
  DIRECTORY tamsa/include/tamsa
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING
  PATTERN "*.h")
# In a directory of its own, so that it never shadows a platform's header.
install(FILES platform/host/system/audio.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kivtelemetry/platform/system")

install(TARGETS tamsa_jsonl LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/tamsa/jsonl")
install(
  TARGETS tamsa_recording
  EXPORT kivtelemetryTestingTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/tamsa/recording")
if(TARGET tamsa_otlp)
  install(TARGETS tamsa_otlp LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/tamsa/otlp")
endif()
install(FILES modules/recording/Recorder.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tamsa/recording")
install(
  TARGETS kivtelemetry_testing
  EXPORT kivtelemetryTestingTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(
  DIRECTORY testing/include/kiv
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING
  PATTERN "*.h")

# What comes of reports, for people and for machines.
install(FILES docs/events.md docs/events.schema.json DESTINATION "${CMAKE_INSTALL_DOCDIR}")

install(
  EXPORT kivtelemetryTargets
  NAMESPACE kiv::
  DESTINATION "${KIV_PACKAGE_DIR}")
# The component `testing`.
install(
  EXPORT kivtelemetryTestingTargets
  NAMESPACE kiv::
  DESTINATION "${KIV_PACKAGE_DIR}")
configure_package_config_file(
  cmake/kivtelemetryConfig.cmake.in "${PROJECT_BINARY_DIR}/kivtelemetryConfig.cmake"
  INSTALL_DESTINATION "${KIV_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kivtelemetryConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(
  FILES "${PROJECT_BINARY_DIR}/kivtelemetryConfig.cmake"
        "${PROJECT_BINARY_DIR}/kivtelemetryConfigVersion.cmake" cmake/FindAndroidHost.cmake
  DESTINATION "${KIV_PACKAGE_DIR}")

# Relative, so that an installed tree can be moved.
file(RELATIVE_PATH KIV_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/kivtelemetry.pc.in "${PROJECT_BINARY_DIR}/kivtelemetry.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kivtelemetry.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
