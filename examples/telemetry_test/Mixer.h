/// A client of the library, to be tested: mixes one stream into another, and reports how that goes.
#pragma once

#include <kiv/TelemetryLogger.h>

#include <vector>

class Mixer {
 public:
  explicit Mixer(const android::kiv::KivSessionId& session) : telemetry_("Mixer", session) {}

  /// False if the stream's rate is none that can be mixed.
  bool open(const kiv::KivPcmInfo& pcm);

  /// Adds `block` to `output`. False unless a stream is open and both are of the same size.
  bool mix(const std::vector<float>& block, std::vector<float>& output);

 private:
  bool add(const std::vector<float>& block, std::vector<float>& output);
  void fail(android::kiv::KivError error, const char* api);

  const android::kiv::TelemetryEnv telemetry_;
  bool is_open_ = false;
};
