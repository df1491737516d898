// Replaces __android_log_assert in a test program and its libraries. Writes all its arguments to
// standard error, as "assert(CONDITION, TAG, FORMAT)" with "null" for a missing one, since the
// log's own line has only some of them. Then calls the original.
#include <android/log.h>
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

extern "C" __attribute__((visibility("default"))) void __android_log_assert(const char* condition,
                                                                            const char* tag,
                                                                            const char* format,
                                                                            ...) {
  std::fprintf(stderr, "assert(%s, %s, %s)\n", condition != nullptr ? condition : "null",
               tag != nullptr ? tag : "null", format != nullptr ? format : "null");

  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  void* const next = dlsym(RTLD_NEXT, "__android_log_assert");
  reinterpret_cast<decltype(&__android_log_assert)>(next)(condition, tag, "%s", text);
  std::abort();
}
