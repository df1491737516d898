# What all our targets have in common.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Debian keeps Android's libraries in a directory of their own, off the loader's path.
set(CMAKE_INSTALL_RPATH_USE_LINK_PATH ON)

# Private headers are included by their path from the root, which says what room each is from.
include_directories("${PROJECT_SOURCE_DIR}")

find_package(Threads REQUIRED)
find_package(AndroidHost REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(uuid REQUIRED IMPORTED_TARGET uuid)

# Warnings for our own code, never imposed on those who build us as a dependency: only the presets
# for development turn them into errors.
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

# A target of ours, built without exceptions as the library is on the device, and in pieces of which
# the linker leaves out what nobody refers to.
function(kiv_library_options target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kiv_warnings>)
  target_compile_options(${target} PRIVATE -fno-exceptions -ffunction-sections -fdata-sections)
endfunction()

# Lets no exception pass. One that the standard library throws when memory ends, or that a client's
# function throws, finds no handler behind a frame of the library, so the process ends at once instead
# of going on with the library's work half done. Debuggers have tables of their own; sanitizers would
# lose their stacks.
function(kiv_no_unwinding target)
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    set(options -fno-unwind-tables -fno-asynchronous-unwind-tables)
    target_compile_options(${target} PRIVATE ${options})
    target_link_options(${target} PRIVATE ${options})
  endif()
endfunction()

# Limits what a shared library exports to what is both marked for export and matched by `map`.
function(kiv_export_only target map)
  target_link_options(${target} PRIVATE "LINKER:--version-script=${map}" "LINKER:--gc-sections")
  # Clang puts the sanitizers' run-time library into programs only.
  if(NOT KIV_BUILD_FUZZERS)
    target_link_options(${target} PRIVATE "LINKER:--no-undefined")
  endif()
  set_target_properties(${target} PROPERTIES LINK_DEPENDS "${map}")
endfunction()

# Keeps a shared library loaded until the process ends. What unloads one holds the loader's lock
# while the library winds up, and a library with a thread of its own would wait for that thread,
# which may be waiting for the lock.
function(kiv_stay_loaded target)
  target_link_options(${target} PRIVATE "LINKER:-z,nodelete")
endfunction()
