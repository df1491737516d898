// Shows what the Android log is told about a process that ends itself, of which its own line has
// only a part. A program that links this writes "assert(CONDITION, TAG, FORMAT)" to standard error
// first, for its libraries too; what is missing there is "null".
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
