#include "tamsa/Loader.h"

#include <android/dlext.h>
#include <android/log.h>
#include <dlfcn.h>

#include <atomic>
#include <cstddef>
#include <string>

#include "tamsa/LinkerError.h"

namespace TAMSA::internal {

namespace {

constexpr char kLogTag[] = "TamsaLoader";

/// The last function that the module turned out to lack. Not a member: the record's fields are
/// fixed.
std::atomic<const char*> missing_function{nullptr};

/// The linker namespace that holds the platform's own libraries. A process in a restricted
/// namespace has no other way to them. Null where the linker has no such thing.
android_namespace_t* findPlatformNamespace() {
  using GetExportedNamespace = android_namespace_t*(const char*);
  void* const function = dlsym(RTLD_DEFAULT, "__loader_android_get_exported_namespace");
  if (function == nullptr) return nullptr;
  return reinterpret_cast<GetExportedNamespace*>(function)("default");
}

void* openInNamespace(const char* name, android_namespace_t* library_namespace) {
  // Kept in a variable because only some platforms have the function.
  auto* const open = android_dlopen_ext;
  if (open == nullptr) return nullptr;
  android_dlextinfo info{};
  info.flags = ANDROID_DLEXT_USE_NAMESPACE;
  info.library_namespace = library_namespace;
  return open(name, RTLD_LAZY, &info);
}

}  // namespace

Loader Loader::instance_;

void Loader::loadModule() {
  std::call_once(loaded_, [this] { open(); });
}

void* Loader::findSymbol(const char* name) {
  loadModule();
  if (module_ == nullptr) return nullptr;
  dlerror();
  void* const function = dlsym(module_, name);
  if (function == nullptr) missing_function.store(name, std::memory_order_relaxed);
  return function;
}

void Loader::logMissingFunction() const {
  const char* const name = missing_function.load(std::memory_order_relaxed);
  if (name == nullptr) return;
  __android_log_print(ANDROID_LOG_DEBUG, kLogTag, "TAMSA module '%s' has no function '%s'",
                      module_name_, name);
}

void Loader::open() {
  __android_log_print(ANDROID_LOG_DEBUG, kLogTag, "TAMSA loading module '%s'", module_name_);
  std::string error;
  if (android_namespace_t* const platform = findPlatformNamespace()) {
    module_ = openInNamespace(module_name_, platform);
    if (module_ == nullptr) takeLoadError(module_name_, error);
  }
  if (module_ == nullptr) module_ = dlopen(module_name_, RTLD_LAZY);
  if (module_ != nullptr) return;
  if (error.empty()) takeLoadError(module_name_, error);
  __android_log_print(ANDROID_LOG_ERROR, kLogTag, "TAMSA module '%s' not found", module_name_);
  if (error.empty()) return;
  __android_log_print(ANDROID_LOG_DEBUG, kLogTag, "TAMSA module '%s' cannot be loaded: %s",
                      module_name_, error.c_str());
}

// The order of the record's fields is fixed.
struct LoaderLayout {
  static_assert(offsetof(Loader, module_name_) == 0 * sizeof(void*));
  static_assert(offsetof(Loader, module_) == 1 * sizeof(void*));
  static_assert(offsetof(Loader, loaded_) == 2 * sizeof(void*));
  static_assert(sizeof(Loader) == 3 * sizeof(void*));
};

}  // namespace TAMSA::internal
