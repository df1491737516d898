# Options of the build. README lists these.

# Version of the binary interface. Only an incompatible change raises it.
set(KIV_SOVERSION 0)

if(PROJECT_IS_TOP_LEVEL)
  option(BUILD_TESTING "Build the tests; the presets for development do" OFF)
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
  endif()
endif()

option(KIV_INSTALL "Install the package, and make Debian packages of it" ${PROJECT_IS_TOP_LEVEL})
option(KIV_BUILD_MODULES "Build the telemetry modules" ${PROJECT_IS_TOP_LEVEL})
option(KIV_BUILD_OTLP "Build the module otlp, if libcurl, zlib and protozero are found" ON)
option(KIV_BUILD_TOOLS "Install the tools for viewing events" ${PROJECT_IS_TOP_LEVEL})
option(KIV_BUILD_REFERENCE "Make the API reference, which needs Doxygen" OFF)
option(KIV_BUILD_EXAMPLES "Build the example programs, which need libsndfile" OFF)
option(KIV_BUILD_BENCHMARKS "Build the benchmark, which needs its peers" OFF)
option(KIV_BUILD_FUZZERS "Build the fuzzers; needs Clang with -fsanitize=fuzzer-no-link" OFF)
option(KIV_VERSIONED_NAMES "Put the version into the libraries' file names; devices have none" ON)

# As a subproject, build only what the parent's targets use.
set(kiv_part)
if(NOT PROJECT_IS_TOP_LEVEL AND NOT KIV_INSTALL)
  set(kiv_part EXCLUDE_FROM_ALL)
endif()

if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  set(level STATUS)
  if(PROJECT_IS_TOP_LEVEL)
    set(level WARNING)
  endif()
  message(
    ${level}
    "BUILD_SHARED_LIBS=OFF has no effect on kivtelemetry. It is a shared library only: all code of a "
    "process that reports shares one worker thread, one set of windows and one telemetry switch. With "
    "a static library, every shared library that links it would have its own.")
endif()
