/// Loads the platform's telemetry module.
#pragma once

#include <mutex>

namespace TAMSA::internal {

/// Opens the module at most once per process and never closes it: objects that it handed out may
/// live until the very end of the process. May be used from any thread.
class Loader {
 public:
  /// The loader of this process, ready before any code runs.
  static Loader& getInstance() { return instance_; }

  /// Makes the one attempt to open the module, or waits for the one under way.
  void loadModule();

  /// The address of an exported symbol; null if the module or the symbol is missing.
  void* findSymbol(const char* name);

  /// Logs the last symbol that the module turned out to lack, if any.
  void logMissingFunction() const;

 private:
  friend struct LoaderLayout;

  constexpr Loader() = default;

  void open();

  static Loader instance_;

  const char* module_name_ = "libtamsa.nebrik.so";
  void* module_ = nullptr;  // constant once loaded_ has run
  std::once_flag loaded_;
};

}  // namespace TAMSA::internal
