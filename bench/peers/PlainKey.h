/// The fields of an error report as a plain struct, for the tables that everybody writes first.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace kiv_bench {

struct PlainKey {
  std::string session;
  std::shared_ptr<const std::string> parent_session;  // the same for all
  std::string api;
  std::string kiv_class;
  std::string error_code;
  int severity;

  /// Three-way: one pass over the fields decides.
  int compare(const PlainKey& other) const {
    if (const int order = session.compare(other.session); order != 0) return order;
    if (const int order = api.compare(other.api); order != 0) return order;
    if (const int order = kiv_class.compare(other.kiv_class); order != 0) return order;
    if (const int order = error_code.compare(other.error_code); order != 0) return order;
    return severity - other.severity;
  }

  bool operator<(const PlainKey& other) const { return compare(other) < 0; }
};

struct PlainAggregate {
  float value = 0.0F;
  unsigned count = 0;

  void fold(float sample) {
    value += sample;
    ++count;
  }
};

}  // namespace kiv_bench
