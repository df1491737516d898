// Checks, at compile time, of the layouts that clients on the device (32-bit ARM, libc++) were
// built against. If one fails, undo the change of the layout; do not edit the number. Other
// platforms have other numbers but the same order.
#include <algorithm>
#include <cstddef>

#include "kiv/TelemetryLogger.h"

namespace android::kiv::internal {

namespace {

#if defined(__arm__) && defined(_LIBCPP_VERSION)
constexpr bool kIsDevice = true;
#else
constexpr bool kIsDevice = false;
#endif

/// An offset as it is and as it has to be.
struct Offset {
  std::size_t here;
  std::size_t expected;
};

/// Finds the first offset, counted from 1, that is not as it has to be; 0 if there is none. The
/// last one is the end of the structure.
template <std::size_t N>
constexpr std::size_t misplaced(const Offset (&offsets)[N]) {
  for (std::size_t i = 0; i < N; ++i) {
    if (offsets[i].here != offsets[i].expected) return i + 1;
  }
  return 0;
}

/// Checks offsets that hold on the device only. Elsewhere, only their order is checked.
template <std::size_t N>
constexpr std::size_t misplacedOnDevice(const Offset (&offsets)[N]) {
  if (kIsDevice) return misplaced(offsets);
  if ((offsets[0].here == 0) != (offsets[0].expected == 0)) return 1;
  for (std::size_t i = 1; i < N; ++i) {
    if (offsets[i].here <= offsets[i - 1].here) return i + 1;
  }
  return 0;
}

}  // namespace

// Both of our compilers can tell the offsets in any class without virtual bases; the standard
// leaves it to them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// These could grow into the padding behind them without moving anything else.
static_assert(sizeof(::kiv::KivPcmInfo::interleaved) == 1);
static_assert(sizeof(KivPcmInfoExt::interleaved) == 1);
static_assert(sizeof(KivStreamEvent::interleaved) == 1);
static_assert(sizeof(KivAudioLatencyEvent::interleaved) == 1);
static_assert(sizeof(KivAudioLatencyEventKey::interleaved) == 1);

static_assert(sizeof(::kiv::KivStreamType) == 1);
static_assert(sizeof(::kiv::KivSampleFormat) == 1);
static_assert(sizeof(NumericAggregationType) == 1);
static_assert(sizeof(KivErrorSeverity) == 1);
static_assert(sizeof(KivError) == 4);
static_assert(sizeof(audio_format_t) == 4);
static_assert(sizeof(TelemetrySubmissionModel) == 4);

// Types that consist of numbers only have one layout on every platform.

static_assert(misplaced({{offsetof(::kiv::KivPcmInfo, reserved), 0},
                         {offsetof(::kiv::KivPcmInfo, format), 4},
                         {offsetof(::kiv::KivPcmInfo, sampleRate), 8},
                         {offsetof(::kiv::KivPcmInfo, channels), 12},
                         {offsetof(::kiv::KivPcmInfo, samples), 16},
                         {offsetof(::kiv::KivPcmInfo, interleaved), 20},
                         {sizeof(::kiv::KivPcmInfo), 24}}) == 0);

static_assert(misplaced({{offsetof(KivPcmInfoExt, sampleRate), 0},
                         {offsetof(KivPcmInfoExt, samples), 4},
                         {offsetof(KivPcmInfoExt, channels), 8},
                         {offsetof(KivPcmInfoExt, interleaved), 12},
                         {offsetof(KivPcmInfoExt, format), 16},
                         {sizeof(KivPcmInfoExt), 20}}) == 0);

static_assert(misplaced({{offsetof(AggregationData<long long>, value), 0},
                         {offsetof(AggregationData<long long>, count), 4},
                         {sizeof(AggregationData<long long>), 8}}) == 0);

// Reports and their keys.

static_assert(misplacedOnDevice({{offsetof(KivErrorCodeEvent, session_id), 0},
                                 {offsetof(KivErrorCodeEvent, api), 20},
                                 {offsetof(KivErrorCodeEvent, kiv_class), 32},
                                 {offsetof(KivErrorCodeEvent, error_code), 44},
                                 {offsetof(KivErrorCodeEvent, severity), 56},
                                 {sizeof(KivErrorCodeEvent), 60}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivStreamEvent, session), 0},
                                 {offsetof(KivStreamEvent, format), 20},
                                 {offsetof(KivStreamEvent, streamType), 24},
                                 {offsetof(KivStreamEvent, sampleRate), 28},
                                 {offsetof(KivStreamEvent, samples), 32},
                                 {offsetof(KivStreamEvent, channels), 36},
                                 {offsetof(KivStreamEvent, interleaved), 40},
                                 {offsetof(KivStreamEvent, event), 44},
                                 {sizeof(KivStreamEvent), 56}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivAudioLatencyEvent, session), 0},
                                 {offsetof(KivAudioLatencyEvent, format), 20},
                                 {offsetof(KivAudioLatencyEvent, streamType), 24},
                                 {offsetof(KivAudioLatencyEvent, sampleRate), 28},
                                 {offsetof(KivAudioLatencyEvent, samples), 32},
                                 {offsetof(KivAudioLatencyEvent, channels), 36},
                                 {offsetof(KivAudioLatencyEvent, interleaved), 40},
                                 {offsetof(KivAudioLatencyEvent, latency), 48},
                                 {sizeof(KivAudioLatencyEvent), 56}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivAudioLatencyEventKey, session), 0},
                                 {offsetof(KivAudioLatencyEventKey, format), 20},
                                 {offsetof(KivAudioLatencyEventKey, streamType), 24},
                                 {offsetof(KivAudioLatencyEventKey, sampleRate), 28},
                                 {offsetof(KivAudioLatencyEventKey, samples), 32},
                                 {offsetof(KivAudioLatencyEventKey, channels), 36},
                                 {offsetof(KivAudioLatencyEventKey, interleaved), 40},
                                 {sizeof(KivAudioLatencyEventKey), 44}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivGenericEventKey, session), 0},
                                 {offsetof(KivGenericEventKey, name), 20},
                                 {offsetof(KivGenericEventKey, aggregationType), 32},
                                 {sizeof(KivGenericEventKey), 36}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivGenericEvent<long long>, session), 0},
                                 {offsetof(KivGenericEvent<long long>, value), 40},
                                 {sizeof(KivGenericEvent<long long>), 48}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivGenericEvent<float>, session), 0},
                                 {offsetof(KivGenericEvent<float>, value), 36},
                                 {sizeof(KivGenericEvent<float>), 40}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivGenericEvent<std::string>, session), 0},
                                 {offsetof(KivGenericEvent<std::string>, value), 36},
                                 {sizeof(KivGenericEvent<std::string>), 48}}) == 0);

static_assert(misplacedOnDevice({{offsetof(KivTraceInfo, name), 0},
                                 {offsetof(KivTraceInfo, start_time), 16},
                                 {offsetof(KivTraceInfo, kiv_class), 24},
                                 {sizeof(KivTraceInfo), 40}}) == 0);

/// Offsets and sizes of classes with private members.
struct DeviceLayout {
  static_assert(misplacedOnDevice({{offsetof(KivSessionId, id_), 0},
                                   {offsetof(KivSessionId, parent_), 12},
                                   {sizeof(KivSessionId), 20}}) == 0);

  template <typename Aggregator>
  static constexpr std::size_t ofAggregator(std::size_t size) {
    return misplacedOnDevice({{offsetof(Aggregator, aggregated_data_), 4},
                              {offsetof(Aggregator, int_fields_), 16},
                              {offsetof(Aggregator, float_fields_), 36},
                              {offsetof(Aggregator, string_fields_), 56},
                              {offsetof(Aggregator, telemetry_handler_), 76},
                              {sizeof(Aggregator), size}});
  }

  /// An aggregator that holds its method.
  template <typename Aggregator>
  static constexpr std::size_t ofAggregatorWithType() {
    return std::max(ofAggregator<Aggregator>(88),
                    misplacedOnDevice({{offsetof(Aggregator, telemetry_handler_), 76},
                                       {offsetof(Aggregator, aggregation_type_), 84}}));
  }

  template <typename Manager>
  static constexpr std::size_t ofTimedManager() {
    using Window = typename Manager::Window;
    static_assert(sizeof(Manager::aggregation_period_) == 8);
    return std::max(misplaced({{offsetof(Window, started_steady), 0},
                               {offsetof(Window, started_system), 8},
                               {sizeof(Window), 16}}),
                    misplacedOnDevice({{offsetof(Manager, aggregator_), 0},
                                       {offsetof(Manager, aggregation_period_), 8},
                                       {offsetof(Manager, window_), 16},
                                       {sizeof(Manager), 40}}));
  }

  static_assert(misplacedOnDevice({{offsetof(TelemetryLogger, session_id_), 16},
                                   {offsetof(TelemetryLogger, logger_name_), 36},
                                   {offsetof(TelemetryLogger, managers_.error_code_manager_), 48},
                                   {offsetof(TelemetryLogger, managers_.stream_event_manager_), 56},
                                   {offsetof(TelemetryLogger, managers_.audio_latency_manager_),
                                    64},
                                   {offsetof(TelemetryLogger, managers_.int64_event_manager_), 72},
                                   {offsetof(TelemetryLogger, managers_.float_event_manager_), 80},
                                   {offsetof(TelemetryLogger, managers_.string_event_manager_), 88},
                                   {offsetof(TelemetryLogger, submission_model_), 96},
                                   {offsetof(TelemetryLogger, task_runner_thread_), 100},
                                   {offsetof(TelemetryLogger, task_runner_), 108},
                                   {sizeof(TelemetryLogger), 132}}) == 0);

  static_assert(sizeof(TelemetryLoggerManager::telemetry_enabled_) == 1);
  static_assert(
      misplacedOnDevice({{offsetof(TelemetryLoggerManager, telemetry_enabled_), 4},
                         {offsetof(TelemetryLoggerManager, session_id_), 8},
                         {offsetof(TelemetryLoggerManager, managers_.error_code_manager_), 28},
                         {offsetof(TelemetryLoggerManager, managers_.stream_event_manager_), 36},
                         {offsetof(TelemetryLoggerManager, managers_.audio_latency_manager_), 44},
                         {offsetof(TelemetryLoggerManager, managers_.int64_event_manager_), 52},
                         {offsetof(TelemetryLoggerManager, managers_.float_event_manager_), 60},
                         {offsetof(TelemetryLoggerManager, managers_.string_event_manager_), 68},
                         {offsetof(TelemetryLoggerManager, task_runner_thread_), 76},
                         {offsetof(TelemetryLoggerManager, telemetry_logger_), 84},
                         {sizeof(TelemetryLoggerManager), 92}}) == 0);

  static_assert(misplacedOnDevice({{offsetof(TelemetryEnv, logger_), 0},
                                   {offsetof(TelemetryEnv, env_name_), 8},
                                   {sizeof(TelemetryEnv), 20}}) == 0);
};

static_assert(DeviceLayout::ofAggregatorWithType<KivErrorCodeAggregator>() == 0);
static_assert(DeviceLayout::ofAggregatorWithType<KivStreamEventAggregator>() == 0);
static_assert(DeviceLayout::ofAggregatorWithType<KivAudioLatencyAggregator>() == 0);
static_assert(DeviceLayout::ofAggregatorWithType<KivGenericStringEventAggregator>() == 0);
static_assert(DeviceLayout::ofAggregator<KivGenericNumericEventAggregator<long long>>(84) == 0);
static_assert(DeviceLayout::ofAggregator<KivGenericNumericEventAggregator<float>>(84) == 0);

template <typename Event>
constexpr std::size_t kTimedManager =
    DeviceLayout::ofTimedManager<TimedAggregationManager<Event>>();

static_assert(kTimedManager<KivErrorCodeEvent> == 0);
static_assert(kTimedManager<KivStreamEvent> == 0);
static_assert(kTimedManager<KivAudioLatencyEvent> == 0);
static_assert(kTimedManager<KivGenericEvent<long long>> == 0);
static_assert(kTimedManager<KivGenericEvent<float>> == 0);
static_assert(kTimedManager<KivGenericEvent<std::string>> == 0);

#pragma GCC diagnostic pop

}  // namespace android::kiv::internal
