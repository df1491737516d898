/// Reporting telemetry: the logger, the process-wide manager behind it, and the handle by which
/// clients obtain a logger.
///
///     #include <kiv/TelemetryLogger.h>
///     using namespace android::kiv;
///
///     const TelemetryEnv telemetry("Mixer");  // keep one for each component
///     const auto logger = telemetry.getLogger();
///     logger->logKivErrorCode(KivError::MMAP_FAILED, "open", KivErrorSeverity::ERROR, "Mixer");
///
/// Reports are not sent one by one. Equal ones are aggregated in a window of time, and each
/// distinct one becomes one event of the platform's telemetry module when the window closes: with
/// the first report of its kind that comes more than five seconds after it opened, with `flush()`
/// or `stop()`, or at process exit. There is no timer.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "kiv/Export.h"
#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivError.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivPcmInfo.h"
#include "kiv/KivSessionId.h"
#include "kiv/KivStreamEventAggregator.h"
#include "kiv/NumericAggregationType.h"
#include "kiv/TaskRunner.h"
#include "kiv/TelemetryDelegate.h"
#include "kiv/TelemetrySwitch.h"
#include "kiv/TimedAggregationManager.h"
#include "kiv/TraceHandler.h"
#include "kiv/internal/AggregationManagers.h"
#include "kiv/internal/ReportedValue.h"

namespace android::kiv {

class TelemetryLoggerManager;

namespace internal {
class ExitProgress;
}  // namespace internal

/// On which thread a logger works, and whether its caller waits.
enum class TelemetrySubmissionModel : int32_t {
  /// On the worker; a report only copies its arguments and posts a task, for which it allocates
  /// memory.
  NON_BLOCKING = 0,
  /// On the worker; a report returns once it has been aggregated. A report that the worker has not
  /// started within a second is dropped.
  BLOCKING = 1,
  /// On the caller's thread; a report returns once it has been submitted. The logger has its own
  /// windows and does not use the worker, although its first report creates the process-wide
  /// manager, which starts one. It takes no lock, despite its name: callers on several threads must
  /// serialize their calls.
  LOCKING_IMMEDIATE = 2,
};

/// A trace section that has begun. Belongs to the code that began it.
struct KivTraceInfo {
  std::string name;                                  ///< The traced API or operation.
  std::chrono::steady_clock::time_point start_time;  ///< When it began.
  std::string kiv_class;                             ///< The traced class; not reported.
};

/// Reports telemetry under one session.
///
/// Threads: in the task-runner models (`NON_BLOCKING`, `BLOCKING`) every operation may be called
/// from any thread, the worker included. In `LOCKING_IMMEDIATE` one thread at a time.
///
/// Ownership: a logger of a task-runner model must be owned by a `std::shared_ptr`, except for
/// latency samples, lifecycle operations, `startTrace`, `stopTrace` and `kiv_beginTraceSection`;
/// any other report aborts the process without one. Queued reports share ownership of their logger.
/// Latency samples do not: the owner must keep the logger until they have been aggregated.
///
/// Failure: reports return nothing. A report that cannot be taken is dropped. If the reason is a
/// stopped aggregation, an error line goes to the Android log.
///
/// The bases, the virtual operations and the data members are part of the binary interface. Clients
/// derive from this class, so not even an addition is compatible.
class KIV_EXPORT TelemetryLogger : public TelemetryHandler,
                                   public TraceHandler,
                                   public std::enable_shared_from_this<TelemetryLogger> {
 public:
  /// The aggregation of one kind of event. Loggers may share it.
  template <typename Event>
  using Manager = std::shared_ptr<TimedAggregationManager<Event>>;

  /// Makes a logger of a task-runner model on the given thread and managers. New managers are
  /// started on the calling thread, stopped ones by the worker. Aborts the process if the model is
  /// `LOCKING_IMMEDIATE`.
  TelemetryLogger(const KivSessionId& session_id, const std::string& name,
                  std::shared_ptr<TaskRunnerThread> task_runner_thread,
                  Manager<KivErrorCodeEvent> error_code_manager,
                  Manager<KivStreamEvent> stream_event_manager,
                  Manager<KivAudioLatencyEvent> audio_latency_manager,
                  Manager<KivGenericEvent<long long>> int64_event_manager,
                  Manager<KivGenericEvent<float>> float_event_manager,
                  Manager<KivGenericEvent<std::string>> string_event_manager,
                  TelemetrySubmissionModel submission_model);

  /// Makes a logger on the process's shared thread and managers or, for `LOCKING_IMMEDIATE`, on
  /// managers of its own.
  TelemetryLogger(const KivSessionId& session_id, const std::string& name,
                  TelemetrySubmissionModel submission_model);

  /// Makes a `NON_BLOCKING` logger without a name, under the process's root session.
  TelemetryLogger();

  /// Submits the open windows of private managers. Shared managers keep running.
  ~TelemetryLogger() override;

  TelemetryLogger(const TelemetryLogger&) = delete;
  TelemetryLogger& operator=(const TelemetryLogger&) = delete;

  // Lifecycle. These operations act on all six aggregations of the logger, which in the task-runner
  // models are those of every such logger of the process. In both of these models they wait for the
  // worker, and return false if it has not begun the operation within a second, or has ended. An
  // operation that has begun is waited for until it returns. `stop` and `flush` also return false
  // beyond the limit of nested submissions; see `TimedAggregationManager`.

  /// Starts stopped aggregations, with empty aggregates. A new logger is started.
  bool start();

  /// Submits all open windows, and stops. True if all six aggregations were running.
  bool stop();

  /// Submits all open windows. True if all six aggregations were running; if one was stopped, the
  /// others are submitted all the same.
  bool flush() override;

  // Errors. Each also writes the line "API - CODE" to the Android log, tagged with `kiv_class`, at
  // error priority whatever its severity.

  /// Reports an error given as text, in the operation `api` of `kiv_class`. An empty `kiv_class` is
  /// replaced by the logger's name.
  void logErrorCode(const std::string& error_code, const std::string& api,
                    KivErrorSeverity severity, const std::string& kiv_class) override;

  /// Reports an error of the catalogue, as "kiv.NAME".
  void logKivErrorCode(KivError error, const std::string& api, KivErrorSeverity severity,
                       const std::string& kiv_class) override;

  /// Reports an error of the catalogue and a number, as "kiv.NAME=NUMBER".
  void logKivErrorCode(KivError error, int detail, const std::string& api,
                       KivErrorSeverity severity, const std::string& kiv_class) override;

  /// Reports an Android status, as "android." and the platform's text for it.
  void logAndroidStatusErrorCode(int status, const std::string& api, KivErrorSeverity severity);

  // Streams. Sample rates are truncated to integers; negative rates and NaN become 0.

  /// Reports that `event`, which is free text, happened to a stream. The descriptor's `format` must
  /// be a valid enumerator.
  void logStreamEvent(const ::kiv::KivPcmInfo& pcm_info, ::kiv::KivStreamType stream_type,
                      const std::string& event);

  /// Reports the event of a stream whose descriptor can name any of Android's formats.
  void logStreamEvent(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                      const std::string& event);

  /// Shared implementation of both overloads.
  void logStreamEventInternal(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                              const std::string& event);

  /// Reports one latency sample of a stream. Only the low 32 bits of the sample count, so a
  /// negative one becomes large. The descriptor's `format` must be a valid enumerator.
  void logAudioLatency(const ::kiv::KivPcmInfo& pcm_info, ::kiv::KivStreamType stream_type,
                       std::chrono::milliseconds latency);

  /// Reports a sample of a stream whose descriptor can name any of Android's formats.
  void logAudioLatency(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                       std::chrono::milliseconds latency);

  /// Shared implementation of both overloads.
  void logAudioLatencyInternal(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                               std::chrono::milliseconds latency);

  // Named values.

  /// Reports a value, combined with others of its name by `aggregation_type`. `T` is one of:
  ///
  /// - an integer type or `bool`, reported as a signed 64-bit integer. Larger unsigned values are
  ///   reported as the largest one.
  /// - `float`, or another floating-point type, reported as the nearest `float`.
  /// - a text: `std::string`, `const char*`, or what converts to `std::string_view`. Texts are
  ///   counted, whatever the aggregation type. A null pointer is an empty text.
  ///
  /// Character types, enumerations and `std::chrono` durations do not compile. `signed char` and
  /// `unsigned char` are integers here.
  template <typename T>
  void logKivEvent(const std::string& name, const T& value,
                   NumericAggregationType aggregation_type);

  /// Reports a client's call of `api`, as a counted string value.
  void logKivClientCall(const std::string& api, const std::string& value);

  // Traces: durations, reported in microseconds as an average per name. Beginning a section costs a
  // clock reading and copies of its texts. `ScopedKivTrace` ends a section with its scope.

  /// Begins a section whose class is the logger's name.
  [[nodiscard]] KivTraceInfo kiv_beginTraceSection(const std::string& name);

  /// Begins a section. The class is the first argument.
  [[nodiscard]] KivTraceInfo kiv_beginTraceSection(const std::string& kiv_class,
                                                   const std::string& name);

  /// Reports the time since `info` began, through this logger. Ending a section twice reports it
  /// twice; never ending it reports nothing. A time that a duration cannot hold is reported as the
  /// longest or shortest one.
  void kiv_endTraceSection(const KivTraceInfo& info);

  [[nodiscard]] std::shared_ptr<void> startTrace(const std::string& kiv_class,
                                                 const std::string& name) override;

  /// Reports through the process's default logger, whichever logger began the trace. Stopping a
  /// trace twice reports it twice.
  void stopTrace(std::shared_ptr<void> token) override;

 private:
  friend struct internal::DeviceLayout;
  friend class TelemetryEnv;

  KIV_HIDDEN explicit TelemetryLogger(TelemetryLoggerManager& manager);

  KIV_HIDDEN bool startInternal();

  /// Starts what is not running, for a constructor on any thread.
  KIV_HIDDEN void startOnConstruction();

  /// Loads the module if necessary, and then returns true: the calling thread may wait for the
  /// worker. False if another thread has been loading it for a second. See LoggerWaits.cpp.
  KIV_HIDDEN static bool prepareToWait();

  /// As `prepareToWait`, for a thread that submits events itself.
  KIV_HIDDEN static bool prepareToSubmit();

  /// Ends the process if the model needs a worker and there is none.
  KIV_HIDDEN void ensureLoggerRespectsTelemetrySubmissionModel();

  /// True if the calling thread does this logger's work.
  KIV_HIDDEN bool worksOnCurrentThread() const;

  /// Posts `task` to the worker, and waits for it in the `BLOCKING` model.
  KIV_HIDDEN void postToWorker(std::function<void()> task);

  /// Calls `operation` on this logger on the worker, and waits for its result.
  KIV_HIDDEN bool callOnWorker(bool (TelemetryLogger::*operation)());

  /// Calls an operation that may need the telemetry module on the worker, and waits for its result.
  KIV_HIDDEN bool submitOnWorker(bool (TelemetryLogger::*operation)());

  /// Adds a report to its window, which in `LOCKING_IMMEDIATE` is submitted at once.
  template <typename Report>
  KIV_HIDDEN void recordReport(TimedAggregationManager<typename Report::Event>& manager,
                               const Report& report);

  /// Reports a value under the name `prefix` + `name`.
  template <typename T>
  KIV_HIDDEN void recordKivEvent(const Manager<KivGenericEvent<T>>& manager,
                                 std::string_view prefix, const std::string& name, const T& value,
                                 NumericAggregationType aggregation_type);

  // Constant after construction. The contents of the managers are touched by the worker only or, in
  // LOCKING_IMMEDIATE, by the calling thread.
  KivSessionId session_id_;
  std::string logger_name_;
  internal::AggregationManagers managers_;
  TelemetrySubmissionModel submission_model_;
  std::shared_ptr<TaskRunnerThread> task_runner_thread_;  // null in LOCKING_IMMEDIATE
  std::optional<TaskRunner> task_runner_;                 // empty in LOCKING_IMMEDIATE
};

template <>
KIV_EXPORT void TelemetryLogger::logKivEvent<long long>(const std::string& name,
                                                        const long long& value,
                                                        NumericAggregationType aggregation_type);
template <>
KIV_EXPORT void TelemetryLogger::logKivEvent<float>(const std::string& name, const float& value,
                                                    NumericAggregationType aggregation_type);
template <>
KIV_EXPORT void TelemetryLogger::logKivEvent<std::string>(const std::string& name,
                                                          const std::string& value,
                                                          NumericAggregationType aggregation_type);

template <typename T>
void TelemetryLogger::logKivEvent(const std::string& name, const T& value,
                                  NumericAggregationType aggregation_type) {
  // The types of values that the library takes are specialized above.
  using Value = std::remove_cv_t<T>;
  if constexpr (internal::IsInteger<Value>::value) {
    logKivEvent<long long>(name, internal::toInt64<Value>(value), aggregation_type);
  } else if constexpr (std::is_floating_point_v<Value>) {
    logKivEvent<float>(name, static_cast<float>(value), aggregation_type);
  } else if constexpr (internal::IsText<Value>::value) {
    logKivEvent<std::string>(name, internal::toText<Value>(value), aggregation_type);
  } else {
    internal::refuse<Value>();
  }
}

/// Holds the resources that all task-runner loggers of the process share: one worker thread, one
/// aggregation per kind of event, a root session, a default logger, and the telemetry switch.
///
/// The order of the data members is part of the binary interface.
class KIV_EXPORT TelemetryLoggerManager {
 public:
  /// The manager of the process, created on first use, from any thread, and never destroyed. At
  /// process exit it submits the open windows, for which exit waits ten seconds at most. Later
  /// reports are accepted and never submitted.
  static TelemetryLoggerManager& getInstance();

  TelemetryLoggerManager();
  virtual ~TelemetryLoggerManager();

  TelemetryLoggerManager(const TelemetryLoggerManager&) = delete;
  TelemetryLoggerManager& operator=(const TelemetryLoggerManager&) = delete;

  /// The default logger: no name, the root session, `NON_BLOCKING`.
  std::shared_ptr<TelemetryLogger> getTelemetryLoggerInstance();

 private:
  friend struct internal::DeviceLayout;
  friend class TelemetryEnv;
  friend class TelemetryLogger;
  friend struct SubmissionAtExit;
  friend bool isTelemetryEnabled();
  friend void disableTelemetryForTesting();

  /// At process exit: has the worker submit the open windows, and waits for it within a limit.
  KIV_HIDDEN void submitAtExit();

  /// On the worker: submits the open windows, from the last kind to the first, and counts them.
  KIV_HIDDEN void submitOpenWindows(internal::ExitProgress& progress) const;

  /// A logger on the shared resources, under a fresh session whose parent is a copy of
  /// `session_id`.
  KIV_HIDDEN std::shared_ptr<TelemetryLogger> createLogger(std::string name,
                                                           KivSessionId session_id, bool blocking);

  std::atomic<bool> telemetry_enabled_{true};
  // Constant after construction.
  KivSessionId session_id_;
  internal::AggregationManagers managers_;
  std::shared_ptr<TaskRunnerThread> task_runner_thread_;
  std::shared_ptr<TelemetryLogger> telemetry_logger_;
};

/// A client's handle to a logger. Keep one for each component for the life of the process: each
/// handle with a name opens a session of its own, and reports of different sessions are never
/// aggregated together. A handle that is made for each call gives an event for each report. Copies
/// share the logger. May be constructed on any thread.
///
/// The first handle of the process also registers the default logger, and a factory of
/// `LOCKING_IMMEDIATE` loggers, with the `TelemetryDelegate`.
class KIV_EXPORT TelemetryEnv {
 public:
  /// A handle to the process's default logger.
  TelemetryEnv();

  /// A handle to a new `NON_BLOCKING` logger, under a fresh child of the default logger's session.
  explicit TelemetryEnv(const std::string& name);

  /// A handle to a new `NON_BLOCKING` logger, under a fresh child of the given session.
  TelemetryEnv(const std::string& name, const KivSessionId& session_id);

  /// A handle to the given logger.
  explicit TelemetryEnv(std::shared_ptr<TelemetryLogger> logger);

  ~TelemetryEnv();

  TelemetryEnv(const TelemetryEnv&) = default;
  TelemetryEnv& operator=(const TelemetryEnv&) = default;
  TelemetryEnv(TelemetryEnv&&) = default;
  TelemetryEnv& operator=(TelemetryEnv&&) = default;

  /// The logger, which may outlive the handle. Null only if null was given.
  std::shared_ptr<TelemetryLogger> getLogger() const { return logger_; }

 private:
  friend struct internal::DeviceLayout;

  KIV_HIDDEN static void ensureInitialized();
  KIV_HIDDEN static void init();

  std::shared_ptr<TelemetryLogger> logger_;
  std::string env_name_;  // always empty; kept for the layout
};

}  // namespace android::kiv
