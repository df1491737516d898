/// What the exporter sends by, and what it reads the time from. Tests put their own in the place of
/// both.
#pragma once

#include <functional>
#include <string>

#include "ExportQueue.h"
#include "Reply.h"

namespace TAMSA::otlp {

/// When something must be over. Asked again and again, because it may come closer.
using Limit = std::function<TimePoint()>;

class Transport {
 public:
  /// Sends one request and waits for the answer, until the limit at most.
  virtual Reply send(const std::string& body, const Limit& limit) = 0;

 protected:
  ~Transport() = default;
};

class Timing {
 public:
  virtual TimePoint now() const = 0;

  /// The process is about to end and waits for us: how often that has begun so far.
  virtual unsigned rushes() const = 0;

  /// Returns earlier if more rushes have begun than the caller knows of.
  virtual void sleepUntil(TimePoint when, unsigned known_rushes) = 0;

  /// When all must be over, because the process waits no longer; the largest time point if no rush
  /// is on.
  virtual TimePoint rushEnd() const = 0;

 protected:
  ~Timing() = default;
};

}  // namespace TAMSA::otlp
