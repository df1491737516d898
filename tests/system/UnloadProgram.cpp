// Loads a library that reports, and unloads it, as often as its argument says.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  // A process that hangs is ended, by a signal that its test sees.
  constexpr unsigned kHangsAfterSeconds = 60;
  alarm(kHangsAfterSeconds);
  for (int left = argc == 2 ? std::atoi(argv[1]) : 1; left > 0; --left) {
    void* const client = dlopen(PASSING_CLIENT, RTLD_NOW | RTLD_LOCAL);
    void* const function = client != nullptr ? dlsym(client, "reportOnce") : nullptr;
    if (function == nullptr) {
      std::fprintf(stderr, "%s\n", dlerror());
      return 1;
    }
    reinterpret_cast<void (*)()>(function)();
    dlclose(client);
  }
  return 0;
}
