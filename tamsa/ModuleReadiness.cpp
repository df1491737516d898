#include "tamsa/ModuleReadiness.h"

#include <atomic>
#include <cstdint>
#include <thread>

#include "tamsa/ScopedNoCancellation.h"
#include "tamsa/SymbolCache.h"

namespace TAMSA::UnifiedTelemetry {

namespace {

enum class Readiness : uint8_t { NONE, PREPARING, READY };

std::atomic<Readiness> readiness{Readiness::NONE};

thread_local bool is_preparing = false;

/// Looked at while another thread loads the module: once per process, and rarely.
constexpr std::chrono::milliseconds kPollInterval{1};

/// True if the calling thread made the module ready. Only one thread gets as far as the loader, so
/// that none waits there for another one without a limit.
bool prepareAsFirst() {
  const internal::ScopedNoCancellation no_cancellation;
  Readiness none = Readiness::NONE;
  if (!readiness.compare_exchange_strong(none, Readiness::PREPARING)) return false;
  is_preparing = true;
  // The log names the last one that is missing: nothing can be reported without the one for
  // creating.
  Symbol::Cache<Symbol::kDestroyTelemetryEvent, void(int64_t, void*) noexcept>::getCached();
  Symbol::Cache<Symbol::kDestroyTelemetryHandler, void(int64_t, void*) noexcept>::getCached();
  Symbol::Cache<Symbol::kCreateTelemetryHandler, void*(int64_t)>::getCached();
  internal::Loader::getInstance().logMissingFunction();
  is_preparing = false;
  readiness = Readiness::READY;
  return true;
}

}  // namespace

bool isModuleReady() { return readiness.load(std::memory_order_acquire) == Readiness::READY; }

bool isPreparingModule() { return is_preparing; }

bool prepareModule(std::chrono::milliseconds limit) {
  if (is_preparing) return false;
  if (prepareAsFirst()) return true;
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!isModuleReady()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

bool prepareModule() {
  if (isModuleReady()) return true;
  if (is_preparing) return false;
  if (prepareAsFirst()) return true;
  while (!isModuleReady()) std::this_thread::sleep_for(kPollInterval);
  return true;
}

}  // namespace TAMSA::UnifiedTelemetry
