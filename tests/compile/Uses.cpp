// Clients' code that uses the public headers. Compiled by compile_test.py only, in every dialect.
#include <kiv/ScopedKivTrace.h>
#include <kiv/TelemetryLogger.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

// With both, `kiv::` alone would be ambiguous.
using namespace android;
using namespace android::kiv;

namespace uses {

using Method = NumericAggregationType;

/// Values of every type that has an event.
struct Values {
  bool flag = true;
  signed char signed_char_number = -1;
  unsigned char unsigned_char_number = 1;
  short short_number = -1;
  unsigned short unsigned_short_number = 1;
  int int_number = -1;
  unsigned unsigned_number = 1;
  long long_number = -1;
  unsigned long unsigned_long_number = 1;
  long long long_long_number = -1;
  unsigned long long unsigned_long_long_number = 1;
  int8_t int8 = -1;
  uint8_t uint8 = 1;
  int16_t int16 = -1;
  uint16_t uint16 = 1;
  int32_t int32 = -1;
  uint32_t uint32 = 1;
  int64_t int64 = -1;
  uint64_t uint64 = 1;
  size_t size = 1;
  ptrdiff_t difference = -1;
  float float_number = 0.5F;
  double double_number = 0.5;
  long double long_double_number = 0.5L;
  const char* pointer = "text";
  char array[8] = "text";
  std::string string = "text";
  std::string_view view = "text";
  std::chrono::microseconds wait{5};
};

template <typename... Types>
void reportEach(TelemetryLogger& logger, const Types&... values) {
  (logger.logKivEvent("name", values, Method::MAX), ...);
}

class OwnLogger : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  void logSize(size_t size) { logKivEvent("size", size, Method::MAX); }
};

void reportValues(TelemetryLogger& logger, Values& v) {
  reportEach(logger, v.flag, v.signed_char_number, v.unsigned_char_number, v.short_number,
             v.unsigned_short_number, v.int_number, v.unsigned_number, v.long_number,
             v.unsigned_long_number, v.long_long_number, v.unsigned_long_long_number, v.int8,
             v.uint8, v.int16, v.uint16, v.int32, v.uint32, v.int64, v.uint64, v.size, v.difference,
             v.float_number, v.double_number, v.long_double_number, v.pointer, v.array, v.string,
             v.view);
  logger.logKivEvent("literal", "text", Method::COUNT);
  logger.logKivEvent("changeable", &v.array[0], Method::COUNT);
  logger.logKivEvent("wait_us", v.wait.count(), Method::AVG);
  logger.logKivEvent("size", v.string.size(), Method::MAX);
}

void reportNamedTypes(TelemetryLogger& logger) {
  logger.logKivEvent<long long>("name", 1, Method::SUM);
  logger.logKivEvent<int64_t>("name", 1, Method::SUM);
  logger.logKivEvent<int>("name", 1, Method::SUM);
  logger.logKivEvent<const int>("name", 1, Method::SUM);
  logger.logKivEvent<float>("name", 1, Method::SUM);
  logger.logKivEvent<std::string>("name", "text", Method::COUNT);
  logger.logKivEvent<size_t>("name", 1, Method::SUM);
  logger.logKivEvent<double>("name", 1, Method::SUM);
  logger.logKivEvent<std::string_view>("name", "text", Method::COUNT);
  logger.logKivEvent<const char*>("name", "text", Method::COUNT);
  const auto address = &TelemetryLogger::logKivEvent<long long>;
  (logger.*address)("name", 1, Method::SUM);
}

void reportThroughOwnLogger(OwnLogger& logger) {
  logger.logSize(1);
  logger.logKivEvent("name", 1U, Method::SUM);
}

void trace(const std::shared_ptr<TelemetryLogger>& logger) {
  const ScopedKivTrace whole(logger, "whole");
  ScopedKivTrace part(logger, "Mixer", "part");
  ScopedKivTrace moved = std::move(part);
  moved.end();
  const KivTraceInfo info = logger->kiv_beginTraceSection("section");
  logger->kiv_endTraceSection(info);
  logger->stopTrace(logger->startTrace("Mixer", "trace"));
}

void describeStreams(TelemetryLogger& logger) {
  ::kiv::KivPcmInfo compact{};
  compact.format = ::kiv::KivSampleFormat::SAMPLE_FORMAT_PCM_16;
  compact.channels = 2;
  compact.samples = 960;
  logger.logStreamEvent(compact, ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT, "opened");
  KivPcmInfoExt extended{};
  extended.format = AUDIO_FORMAT_PCM_16_BIT;
  extended.samples = 960;
  extended.channels = 2;
  logger.logAudioLatency(extended, ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT,
                         std::chrono::milliseconds(5));
}

#if __cplusplus >= 202002L
void describeStreamsByDesignators(TelemetryLogger& logger) {
  const ::kiv::KivPcmInfo compact{.reserved = 0,
                                  .format = ::kiv::KivSampleFormat::SAMPLE_FORMAT_PCM_16,
                                  .sampleRate = 48000,
                                  .channels = 2,
                                  .samples = 960,
                                  .interleaved = true};
  logger.logStreamEvent(compact, ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT, "opened");
}
#endif

}  // namespace uses
