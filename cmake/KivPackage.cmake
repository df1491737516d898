# The installed package: find_package(kivtelemetry CONFIG), pkg-config files, docs. Its components are
# the Debian packages: runtime, development, modules, tools.
include(CMakePackageConfigHelpers)

set(KIV_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/kivtelemetry")
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

install(
  TARGETS kivcommon kivtelemetry
  EXPORT kivtelemetryTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
          COMPONENT runtime
          NAMELINK_COMPONENT development)
install(
  DIRECTORY services/kiv/common/include/kiv services/kiv/telemetry/include/kiv testing/include/kiv
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

foreach(module jsonl otlp)
  if(TARGET tamsa_${module})
    install(
      TARGETS tamsa_${module}
      LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/tamsa/${module}" COMPONENT modules)
  endif()
endforeach()

# The test kit: the package's component `testing`.
install(
  TARGETS tamsa_recording
  EXPORT kivtelemetryTestingTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/tamsa/recording")
install(FILES modules/recording/Recorder.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tamsa/recording")
install(
  TARGETS kivtelemetry_testing
  EXPORT kivtelemetryTestingTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")

# Each set of targets, for those who install the package and for those who use the build tree.
foreach(targets kivtelemetryTargets kivtelemetryTestingTargets)
  install(
    EXPORT ${targets}
    NAMESPACE kiv::
    DESTINATION "${KIV_PACKAGE_DIR}")
  export(
    EXPORT ${targets}
    NAMESPACE kiv::
    FILE "${PROJECT_BINARY_DIR}/${targets}.cmake")
endforeach()
configure_package_config_file(
  cmake/kivtelemetryConfig.cmake.in "${PROJECT_BINARY_DIR}/kivtelemetryConfig.cmake"
  INSTALL_DESTINATION "${KIV_PACKAGE_DIR}"
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/kivtelemetryConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
configure_file(cmake/FindAndroidHost.cmake "${PROJECT_BINARY_DIR}/FindAndroidHost.cmake" COPYONLY)
install(
  FILES "${PROJECT_BINARY_DIR}/kivtelemetryConfig.cmake"
        "${PROJECT_BINARY_DIR}/kivtelemetryConfigVersion.cmake" cmake/FindAndroidHost.cmake
  DESTINATION "${KIV_PACKAGE_DIR}")

# Relative to the file, so that an installed tree can be moved, unless an absolute directory was asked
# for.
function(kiv_pc_directory variable directory)
  if(IS_ABSOLUTE "${directory}")
    set(${variable} "${directory}" PARENT_SCOPE)
  else()
    set(${variable} "\${prefix}/${directory}" PARENT_SCOPE)
  endif()
endfunction()
kiv_pc_directory(KIV_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
kiv_pc_directory(KIV_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(KIV_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" KIV_PC_PREFIX "\${pcfiledir}/${to_prefix}")
endif()
get_filename_component(KIV_PC_ANDROIDLOGDIR "${AndroidHost_LOG_LIBRARY}" DIRECTORY)
foreach(name kivtelemetry kivtelemetry-testing)
  configure_file(cmake/${name}.pc.in "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()

include(KivDocs)
if(PROJECT_IS_TOP_LEVEL)
  include(KivDebian)
endif()
