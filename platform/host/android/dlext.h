/// Declarations of Android's <android/dlext.h> for opening a library in a linker namespace, for
/// hosts that lack that header.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#define ANDROID_DLEXT_USE_NAMESPACE 0x200

extern "C" {

struct android_namespace_t;

struct android_dlextinfo {
  uint64_t flags;
  void* reserved_addr;
  size_t reserved_size;
  int relro_fd;
  int library_fd;
  off64_t library_fd_offset;
  android_namespace_t* library_namespace;
};

// Weak: no host has this function, so its address is null unless a program supplies one.
__attribute__((weak)) void* android_dlopen_ext(const char* filename, int flags,
                                               const android_dlextinfo* info);

}  // extern "C"
