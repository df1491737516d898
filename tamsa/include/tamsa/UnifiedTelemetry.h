/// The two interfaces through which a unified-telemetry module is used, and the functions by which
/// it hands out and takes back their objects.
///
/// A module is a library named "libtamsa.nebrik.so" that exports, with C linkage:
///
///   void* createTelemetryHandler(int64_t version);               // 9; null if it has none to give
///   void destroyTelemetryHandler(int64_t version, void* handler);  // 9
///   void destroyTelemetryEvent(int64_t version, void* event);      // 7
///
/// Handlers and events are used through the virtual tables below, whose entries have fixed
/// positions. Rules for changes:
///  - Entries are neither added, removed, reordered nor given another signature.
///  - There is no virtual destructor: it would take two entries. Objects are destroyed by the
///    module that made them, through the functions above.
///  - Reserved entries belong to the platform's module. They are never called, and an
///    implementation leaves them alone.
///
/// One handler, and the events made by it, are used by one thread at a time; different handlers may
/// be used by different threads at once. All texts are NUL-terminated and belong to the caller: a
/// module copies those that it stores. No operation throws. Calls can come late in process exit,
/// after a module's own static destructors have run, so a module keeps nothing that a static
/// destructor tears down.
#pragma once

#include <cstdint>

namespace TAMSA {

template <typename T>
class Ptr;

namespace UnifiedTelemetry {

namespace v7 {

/// An event under construction: a name, given when it was created, and typed, named fields.
/// Setting a field that is already set replaces it.
class ITelemetryEvent {
 public:
  /// The version passed to the module's functions with every event.
  static constexpr int64_t kVersion = 7;

  /// Takes ownership of an event that `ITelemetryHandler::createEvent` returned.
  static Ptr<ITelemetryEvent> rawToPtr(ITelemetryEvent* event);

  virtual void reserved1() {}
  virtual void reserved2() {}
  virtual void reserved3() {}
  virtual void reserved4() {}

  /// Copies both texts; a null value is never passed.
  virtual void setStringField(const char* name, const char* value) = 0;

  virtual void reserved6() {}

  /// The value may be infinite or NaN.
  virtual void setFloatField(const char* name, float value) = 0;

  virtual void reserved8() {}

  /// Any value of the type.
  virtual void setInt64Field(const char* name, int64_t value) = 0;

 protected:
  ~ITelemetryEvent() = default;
};

}  // namespace v7

namespace v9 {

/// Creates events and takes them back filled.
class ITelemetryHandler {
 public:
  /// The version passed to the module's functions with every handler.
  static constexpr int64_t kVersion = 9;

  virtual void reserved1() {}
  virtual void reserved2() {}
  virtual void reserved3() {}

  /// A new, empty event, which the caller hands back to "destroyTelemetryEvent".
  virtual v7::ITelemetryEvent* createEvent(const char* name) = 0;

  virtual void reserved5() {}
  virtual void reserved6() {}
  virtual void reserved7() {}
  virtual void reserved8() {}
  virtual void reserved9() {}

  /// Takes the event's contents, not the event. `flag` is 1. True if the event was accepted.
  virtual bool reportEvent(v7::ITelemetryEvent* event, int32_t flag) = 0;

 protected:
  ~ITelemetryHandler() = default;
};

/// A handler of the platform's module; empty if there is no module or it has none to give.
Ptr<ITelemetryHandler> createTelemetryHandlerPtr();

}  // namespace v9

}  // namespace UnifiedTelemetry

}  // namespace TAMSA
