#include "OtlpEvent.h"

#include <exception>
#include <string>

namespace TAMSA::otlp {

void OtlpEvent::setStringField(const char* name, const char* value) noexcept {
  setField(name, value);
}

void OtlpEvent::setFloatField(const char* name, float value) noexcept { setField(name, value); }

void OtlpEvent::setInt64Field(const char* name, int64_t value) noexcept { setField(name, value); }

template <typename Value>
void OtlpEvent::setField(const char* name, Value value) noexcept {
  try {
    record_.fields.insert_or_assign(name, value);
  } catch (const std::exception&) {
    complete_ = false;
  }
}

LogRecord OtlpEvent::toRecord() const {
  LogRecord record = record_;
  record.observed = std::chrono::system_clock::now();
  return record;
}

}  // namespace TAMSA::otlp
