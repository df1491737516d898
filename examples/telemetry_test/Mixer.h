/// A client of the library, as an example for tests: mixes audio blocks and reports what happens.
#pragma once

#include <kiv/TelemetryLogger.h>

#include <vector>

class Mixer {
 public:
  explicit Mixer(const android::kiv::KivSessionId& session) : telemetry_("Mixer", session) {}

  /// Returns false if the mixer does not support the stream's rate.
  bool open(const ::kiv::KivPcmInfo& pcm);

  /// Adds `block` to `output`. Returns false if no stream is open or the sizes differ.
  bool mix(const std::vector<float>& block, std::vector<float>& output);

 private:
  bool add(const std::vector<float>& block, std::vector<float>& output);
  void fail(android::kiv::KivError error, const char* api);

  const android::kiv::TelemetryEnv telemetry_;
  bool is_open_ = false;
};
