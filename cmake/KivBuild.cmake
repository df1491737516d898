# Settings of all our targets.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Debian keeps Android's libraries in a directory of their own, off the loader's path.
set(CMAKE_INSTALL_RPATH_USE_LINK_PATH ON)

# Private headers are included by their path from the root, which shows the directory of each.
include_directories("${PROJECT_SOURCE_DIR}")

find_package(Threads REQUIRED)
find_package(AndroidHost REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(uuid REQUIRED IMPORTED_TARGET uuid)

# Warnings for our own code. Only the presets for development turn them into errors, so that they never
# break the build of a project that includes this one.
add_library(kiv_warnings INTERFACE)
target_compile_options(
  kiv_warnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wnon-virtual-dtor
            -Wold-style-cast
            -Wundef)

# Builds a target without exceptions, as on the device, and in sections, of which the linker drops those
# that are not used.
function(kiv_library_options target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kiv_warnings>)
  target_compile_options(${target} PRIVATE -fno-exceptions -ffunction-sections -fdata-sections)
endfunction()

# Stops exceptions: without unwind tables, an exception that the standard library or a client's
# function throws finds no handler beyond a frame of this target, so the process ends at once.
# Debuggers use tables of their own. Sanitizers need these tables for their stack traces.
function(kiv_no_unwinding target)
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    set(options -fno-unwind-tables -fno-asynchronous-unwind-tables)
    target_compile_options(${target} PRIVATE ${options})
    target_link_options(${target} PRIVATE ${options})
  endif()
endfunction()

# Limits the exports of a shared library to symbols that are marked for export and listed in `map`.
# The library calls its own functions directly; clients cannot replace them.
function(kiv_export_only target map)
  target_link_options(${target} PRIVATE "LINKER:--version-script=${map}" "LINKER:--gc-sections"
                                        "LINKER:-Bsymbolic-functions")
  # Clang links the sanitizers' run-time library into programs only.
  if(NOT KIV_BUILD_FUZZERS)
    target_link_options(${target} PRIVATE "LINKER:--no-undefined")
  endif()
  set_target_properties(${target} PROPERTIES LINK_DEPENDS "${map}")
endfunction()

# Keeps a shared library loaded until the process ends. Unloading holds the loader's lock while static
# objects are destroyed. A library with a thread would wait there for the thread, which may wait for the
# lock.
function(kiv_stay_loaded target)
  target_link_options(${target} PRIVATE "LINKER:-z,nodelete")
endfunction()
