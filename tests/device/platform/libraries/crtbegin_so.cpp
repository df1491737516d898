// The functions of Android's start files that our sources use.

extern "C" {

__attribute__((visibility("hidden"))) void* __dso_handle = &__dso_handle;

int __cxa_atexit(void (*handler)(void*), void* argument, void* dso);
int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(), void* dso);

__attribute__((visibility("hidden"))) int atexit(void (*handler)()) {
  return __cxa_atexit(reinterpret_cast<void (*)(void*)>(handler), nullptr, &__dso_handle);
}

__attribute__((visibility("hidden"))) int pthread_atfork(void (*prepare)(), void (*parent)(),
                                                         void (*child)()) {
  return __register_atfork(prepare, parent, child, &__dso_handle);
}
}
