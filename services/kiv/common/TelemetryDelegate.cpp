#include "kiv/TelemetryDelegate.h"

#include <pthread.h>

#include <utility>

namespace android::kiv {

TelemetryHandler::~TelemetryHandler() = default;

TelemetryDelegate& TelemetryDelegate::getInstance() {
  // Leaked on purpose: static destructors of any library may still ask for a handler.
  static TelemetryDelegate* const instance = [] {
    // A forked process must not find the mutex locked.
    pthread_atfork([] { getInstance().mutex_.lock(); }, [] { getInstance().mutex_.unlock(); },
                   [] { getInstance().mutex_.unlock(); });
    return new TelemetryDelegate;
  }();
  return *instance;
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
