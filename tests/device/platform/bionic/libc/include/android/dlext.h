/// Declarations of <android/dlext.h> in Android's C library that our sources use. Unlike a host's
/// stand-in it promises that the function is there.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  ANDROID_DLEXT_USE_NAMESPACE = 0x200,
};

struct android_namespace_t;

typedef struct {
  uint64_t flags;
  void* reserved_addr;
  size_t reserved_size;
  int relro_fd;
  int library_fd;
  off64_t library_fd_offset;
  struct android_namespace_t* library_namespace;
} android_dlextinfo;

void* android_dlopen_ext(const char* filename, int flags, const android_dlextinfo* info);

#ifdef __cplusplus
}
#endif
