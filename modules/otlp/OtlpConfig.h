/// The configuration by OpenTelemetry's environment variables.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "modules/otlp/Encoder.h"
#include "modules/otlp/LogRecord.h"

namespace TAMSA::otlp {

/// No limit if empty.
using TimeLimit = std::optional<std::chrono::milliseconds>;

/// The defaults are the documented ones.
struct OtlpConfig {
  /// Export is switched off: events are taken and discarded.
  bool is_disabled = false;

  // Requests. URL and headers may hold secrets.
  std::string url;  ///< Empty if the endpoint cannot be used: nothing is sent.
  Protocol protocol = Protocol::HTTP_PROTOBUF;
  std::vector<std::pair<std::string, std::string>> headers;
  TimeLimit request_timeout{10'000};
  bool gzip = false;
  std::string certificate_file;
  std::string client_certificate_file;
  std::string client_key_file;

  // Batching.
  std::chrono::milliseconds schedule_delay{1'000};
  TimeLimit export_timeout{30'000};
  size_t max_queue_size = 2'048;
  size_t max_batch_size = 512;

  /// The origin of the events.
  Attributes resource;
};

/// Reads a variable; null if it is not set.
using Environment = std::function<const char*(const char*)>;

/// Texts for the log. Values are part of them unless they may be secret.
struct ConfigProblems {
  std::vector<std::string> errors;    ///< Nothing will be sent.
  std::vector<std::string> warnings;  ///< A value is ignored.
};

/// A variable for log records takes precedence over that for all signals. A value that cannot be
/// used is ignored with a warning, except for an endpoint: events must not go elsewhere.
OtlpConfig readConfig(const Environment& environment, const Attributes& process,
                      ConfigProblems& problems);

}  // namespace TAMSA::otlp
