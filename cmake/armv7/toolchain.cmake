# The device's processor and calling convention, on which floats travel in core registers: clang and
# libc++ as there, against the libraries that `fetch-sysroot` brought, run by an emulator.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabi)
set(CMAKE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/armv7-sysroot")
cmake_path(NORMAL_PATH CMAKE_SYSROOT)

foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET arm-linux-gnueabi)
  set(CMAKE_${language}_FLAGS_INIT "-march=armv7-a -mfpu=neon -mfloat-abi=softfp -mthumb")
endforeach()
set(CMAKE_C_COMPILER clang-16)
set(CMAKE_CXX_COMPILER clang++-16)
# Debian's libc++ of that architecture is sound in version 14; later ones crash on a throw.
add_compile_options(
  "$<$<COMPILE_LANGUAGE:CXX>:-nostdinc++;-isystem;${CMAKE_SYSROOT}/usr/lib/llvm-14/include/c++/v1>")
# Android's libraries are off the dynamic linker's path, and CMake would name their directory as it
# is called inside the root, where the emulator does not always look.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
      "-fuse-ld=lld -Wl,--icf=safe -nostdlib++ -Wl,--as-needed -Wl,-rpath,${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabi/android"
  )
endforeach()
set(CMAKE_CXX_STANDARD_LIBRARIES "-lc++ -lc++abi -latomic")
set(CMAKE_NM llvm-nm-16)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabi/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L "${CMAKE_SYSROOT}")
