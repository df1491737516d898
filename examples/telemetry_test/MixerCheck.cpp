// The mixer's reports, checked without GoogleTest. Events can be compared and printed by any test
// framework; here the program itself is the test.
#include <kiv/testing/RecordedTelemetry.h>

#include <iostream>

#include "Mixer.h"

int main() {
  android::kiv::telemetry_testing::RecordedTelemetry telemetry;
  Mixer mixer{android::kiv::KivSessionId(nullptr)};
  ::kiv::KivPcmInfo stereo{};
  stereo.format = ::kiv::KivSampleFormat::SAMPLE_FORMAT_FLOAT;
  stereo.sampleRate = 4000;
  stereo.channels = 2;
  stereo.samples = 960;
  stereo.interleaved = true;
  mixer.open(stereo);

  const auto events = telemetry.events();
  if (events.size() == 1 && events[0].name == "wexo_kiv_error_code" &&
      events[0].strings.at("kiv_error_code") == "kiv.USER_INVALID_SAMPLE_RATE" &&
      events[0].ints.at("aggregated_count") == 1) {
    return 0;
  }
  std::cerr << "expected one error, but the events are " << events << "\n";
  return 1;
}
