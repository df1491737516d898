#include "kiv/TelemetryDelegate.h"

#include <pthread.h>

#include <atomic>
#include <utility>

namespace android::kiv {

TelemetryHandler::~TelemetryHandler() = default;

namespace {

/// Never destroyed: static destructors of any library may still ask for a handler. Not a static
/// variable of a function: that has a lock, which a forked process may inherit locked.
std::atomic<TelemetryDelegate*> instance{nullptr};

// Made when the library is loaded, or before, by the constructor of a static object.
[[maybe_unused]] const TelemetryDelegate& made_at_load = TelemetryDelegate::getInstance();

}  // namespace

TelemetryDelegate& TelemetryDelegate::getInstance() {
  TelemetryDelegate* known = instance.load(std::memory_order_acquire);
  if (known != nullptr) return *known;
  std::unique_ptr<TelemetryDelegate> made(new TelemetryDelegate);
  if (!instance.compare_exchange_strong(known, made.get())) return *known;
  // A forked process must not find the mutex locked.
  pthread_atfork([] { getInstance().mutex_.lock(); }, [] { getInstance().mutex_.unlock(); },
                 [] { getInstance().mutex_.unlock(); });
  return *made.release();
}

void TelemetryDelegate::registerHandler(TelemetryHandler* handler, HandlerFactory factory) {
  {
    std::lock_guard lock(mutex_);
    handler_ = handler;
    factory_.swap(factory);
  }
  // The old factory goes here, outside the lock: what it owns may use the delegate itself.
}

TelemetryHandler* TelemetryDelegate::getHandler() const {
  std::lock_guard lock(mutex_);
  return handler_;
}

std::unique_ptr<TelemetryHandler> TelemetryDelegate::createHandler(const std::string& name) const {
  HandlerFactory factory;
  {
    // The factory runs outside the lock: what it makes may use the delegate itself.
    std::lock_guard lock(mutex_);
    factory = factory_;
  }
  return factory ? factory(name) : nullptr;
}

}  // namespace android::kiv
