/// Writes events to a file as lines of JSON.
#pragma once

#include <string>

#include "modules/jsonl/LineAppender.h"
#include "modules/support/EventSink.h"

namespace TAMSA::jsonl {

/// Any number of sinks, in any number of processes, may append to the same file.
class JsonlSink final : public support::EventSink {
 public:
  explicit JsonlSink(const std::string& path) : appender_(path) {}

  /// Always true: an event that cannot be written is counted, and logged with others.
  bool take(const support::Event& event) override;

 private:
  const LineAppender appender_;
};

}  // namespace TAMSA::jsonl
