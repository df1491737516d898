#include <android/dlext.h>
#include <dlfcn.h>

void* android_dlopen_ext(const char* /*filename*/, int /*flags*/,
                         const android_dlextinfo* /*info*/) {
  return nullptr;
}

void* dlopen(const char* /*filename*/, int /*flags*/) noexcept { return nullptr; }

void* dlsym(void* /*handle*/, const char* /*name*/) noexcept { return nullptr; }

char* dlerror() noexcept { return nullptr; }
