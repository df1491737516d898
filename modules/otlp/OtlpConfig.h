/// What OpenTelemetry's environment variables say.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "LogRecord.h"

namespace TAMSA::otlp {

/// No limit if empty.
using TimeLimit = std::optional<std::chrono::milliseconds>;

/// The defaults are the documented ones.
struct OtlpConfig {
  bool is_disabled = false;

  // How one request is made. URL and headers may hold secrets.
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  TimeLimit request_timeout{10'000};
  bool gzip = false;
  std::string certificate_file;
  std::string client_certificate_file;
  std::string client_key_file;

  // When requests are made, and of how many events.
  std::chrono::milliseconds schedule_delay{1'000};
  TimeLimit export_timeout{30'000};
  size_t max_queue_size = 2'048;
  size_t max_batch_size = 512;

  /// What reports.
  Attributes resource;
};

/// What the process can tell of itself without being configured.
Attributes describeProcess();

/// Reads a variable; null if it is not set.
using Environment = std::function<const char*(const char*)>;

/// A variable of log records alone goes before that of all signals. A value that cannot be used is
/// as good as none, and is warned of, never with the value itself.
OtlpConfig readConfig(const Environment& environment, const Attributes& process,
                      std::vector<std::string>& warnings);

}  // namespace TAMSA::otlp
