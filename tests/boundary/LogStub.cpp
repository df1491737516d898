// A liblog of two functions, which writes to the standard error output.
#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  std::fprintf(stderr, "stub log: %d %s: ", priority, tag != nullptr ? tag : "");
  va_list arguments;
  va_start(arguments, format);
  const int written = std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputc('\n', stderr);
  return written;
}

void __android_log_assert(const char* condition, const char* /*tag*/, const char* format, ...) {
  std::fprintf(stderr, "stub assert: %s: ", condition);
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputc('\n', stderr);
  std::abort();
}
