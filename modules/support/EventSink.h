/// The part of a handler that differs from module to module.
#pragma once

#include <memory>

#include "modules/support/Event.h"

namespace TAMSA::support {

/// Receives the events of one handler. Used by one thread at a time.
class EventSink {
 public:
  virtual ~EventSink() = default;

  EventSink(const EventSink&) = delete;
  EventSink& operator=(const EventSink&) = delete;

  /// Takes the contents of a complete event. Also returns true for an event that is lost but was
  /// counted by the module, which logs such losses together: for each event that is answered with
  /// false, the library logs a line. Throws only if memory is short.
  virtual bool take(const Event& event) = 0;

 protected:
  EventSink() = default;
};

/// Factory for the sink of a new handler. Each module defines it. Throws only if memory is short.
std::unique_ptr<EventSink> createEventSink();

}  // namespace TAMSA::support
