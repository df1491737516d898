/// Reporting telemetry: the logger, the process-wide manager behind it, and the handle by which
/// clients obtain a logger.
///
///   android::kiv::TelemetryEnv telemetry("Mixer");
///   telemetry.getLogger()->logKivErrorCode(KivError::MMAP_FAILED, "open", KivErrorSeverity::ERROR,
///                                          "Mixer");
///
/// Reports are not sent one by one. Equal ones are folded together, and every five seconds each
/// distinct one becomes one event of the platform's telemetry module.
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

namespace android::kiv {

class TelemetryLoggerManager;

namespace internal {
class ExitProgress;
}  // namespace internal

/// On which thread a logger works, and whether its caller waits.
enum class TelemetrySubmissionModel : int32_t {
  NON_BLOCKING = 0,  ///< On the worker; a report only copies its arguments.
  BLOCKING = 1,      ///< On the worker; a report returns once it has been aggregated.
  /// On the caller's thread; a report returns once it has been submitted. The logger shares nothing
  /// with others, and callers on several threads take turns by their own means.
  LOCKING_IMMEDIATE = 2,
};

/// A trace section that has begun. Held by whoever began it.
struct KivTraceInfo {
  std::string name;                                  ///< What is traced: an API or operation.
  std::chrono::steady_clock::time_point start_time;  ///< When it began.
  std::string kiv_class;                             ///< On whose behalf; recorded, not reported.
};

/// Tracing for code that knows no more of a logger.
///
/// The order of the virtual operations is part of the binary interface.
class KIV_EXPORT TraceHandler {
 public:
  virtual ~TraceHandler();

  /// Begins a trace. The token ends it, on any thread, and owns all that belongs to it.
  virtual std::shared_ptr<void> startTrace(const std::string& kiv_class,
                                           const std::string& name) = 0;

  /// Ends the trace that `token` stands for. An empty token is ignored; any other must come from
  /// `startTrace`.
  virtual void stopTrace(std::shared_ptr<void> token) = 0;
};

/// Reports telemetry under one session.
///
/// Threads: in the task-runner models (`NON_BLOCKING`, `BLOCKING`) every operation may be called
/// from any thread, the worker included. In `LOCKING_IMMEDIATE` one thread at a time.
///
/// Ownership: loggers of the task-runner models are held by `std::shared_ptr`; reporting through
/// one that is not ends the process. Queued reports keep their logger alive, except latency
/// samples, whose logger the owner must keep until they have been taken.
///
/// Failure: reports return nothing. One that cannot be taken is dropped, and where a stopped
/// aggregation is the reason the Android log says so.
///
/// The bases, the order of the virtual operations and the order of the data members are part of the
/// binary interface: never reorder them, append only.
class KIV_EXPORT TelemetryLogger : public TelemetryHandler,
                                   public TraceHandler,
                                   public std::enable_shared_from_this<TelemetryLogger> {
 public:
  /// How loggers hold the aggregation of one kind of event, which others may share.
  template <typename Event>
  using Manager = std::shared_ptr<TimedAggregationManager<Event>>;

  /// A logger of a task-runner model on the given thread and managers. The managers are started on
  /// the calling thread. Ends the process if the model is `LOCKING_IMMEDIATE`.
  TelemetryLogger(const KivSessionId& session_id, const std::string& name,
                  std::shared_ptr<TaskRunnerThread> task_runner_thread,
                  Manager<KivErrorCodeEvent> error_code_manager,
                  Manager<KivStreamEvent> stream_event_manager,
                  Manager<KivAudioLatencyEvent> audio_latency_manager,
                  Manager<KivGenericEvent<long long>> int64_event_manager,
                  Manager<KivGenericEvent<float>> float_event_manager,
                  Manager<KivGenericEvent<std::string>> string_event_manager,
                  TelemetrySubmissionModel submission_model);

  /// A logger on the process's shared thread and managers or, for `LOCKING_IMMEDIATE`, on managers
  /// of its own.
  TelemetryLogger(const KivSessionId& session_id, const std::string& name,
                  TelemetrySubmissionModel submission_model);

  /// A `NON_BLOCKING` logger without a name, under the process's own session.
  TelemetryLogger();

  /// Submits what private managers still hold. Shared ones go on.
  ~TelemetryLogger() override;

  TelemetryLogger(const TelemetryLogger&) = delete;
  TelemetryLogger& operator=(const TelemetryLogger&) = delete;

  // Lifecycle. These act on all that the logger reports into, which in the task-runner models is
  // the aggregation of every such logger of the process. They wait for the worker in both models,
  // and return false if it did not do the work.

  /// Starts what is stopped, with empty aggregates. A logger is born started.
  bool start();

  /// Submits what has been aggregated, and stops. True if everything was running.
  bool stop();

  /// Submits what has been aggregated. True if everything was running.
  bool flush() override;

  // Errors. Each also writes one line to the Android log, tagged with `kiv_class`.

  /// Reports an error given as text, in the operation `api` of `kiv_class`; with an empty
  /// `kiv_class` the logger's name stands in its place.
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

  // Streams. A fraction of a sample rate is cut off; one that is negative or no number becomes 0.

  /// Reports that `event`, which is free text, happened to a stream. The descriptor's `format` must
  /// be a valid enumerator.
  void logStreamEvent(const ::kiv::KivPcmInfo& pcm_info, ::kiv::KivStreamType stream_type,
                      const std::string& event);

  /// The same by a descriptor that can name any of Android's formats.
  void logStreamEvent(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                      const std::string& event);

  /// What both of them do.
  void logStreamEventInternal(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                              const std::string& event);

  /// Reports one latency sample of a stream; of a negative one, or one beyond 32 bits, the low 32
  /// bits are taken. The descriptor's `format` must be a valid enumerator.
  void logAudioLatency(const ::kiv::KivPcmInfo& pcm_info, ::kiv::KivStreamType stream_type,
                       std::chrono::milliseconds latency);

  /// The same by a descriptor that can name any of Android's formats.
  void logAudioLatency(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                       std::chrono::milliseconds latency);

  /// What both of them do.
  void logAudioLatencyInternal(const KivPcmInfoExt& pcm_info, ::kiv::KivStreamType stream_type,
                               std::chrono::milliseconds latency);

  // Named values.

  /// Reports a value, combined with others of its name by `aggregation_type`. `T` is a signed
  /// integer, all of which are reported as 64-bit integers, `float` or `std::string`; strings are
  /// counted whatever the type.
  template <typename T>
  void logKivEvent(const std::string& name, const T& value,
                   NumericAggregationType aggregation_type);

  /// Reports a client's call of `api`, as a counted string value.
  void logKivClientCall(const std::string& api, const std::string& value);

  // Traces: how long something took, reported in microseconds as an average per name. Beginning one
  // costs a clock reading and the copies of its texts.

  /// Begins a section on behalf of the logger's own name.
  KivTraceInfo kiv_beginTraceSection(const std::string& name);

  /// Begins a section. The class comes first.
  KivTraceInfo kiv_beginTraceSection(const std::string& kiv_class, const std::string& name);

  /// Reports the time since `info` began, through this logger.
  void kiv_endTraceSection(const KivTraceInfo& info);

  std::shared_ptr<void> startTrace(const std::string& kiv_class, const std::string& name) override;

  /// Reports through the process's default logger, whichever logger began the trace.
  void stopTrace(std::shared_ptr<void> token) override;

 private:
  friend struct DeviceLayout;
  friend class TelemetryEnv;

  KIV_HIDDEN explicit TelemetryLogger(TelemetryLoggerManager& manager);

  KIV_HIDDEN bool startInternal();

  /// Starts what is not running, for a constructor on any thread.
  KIV_HIDDEN void startOnConstruction();

  /// Whether the calling thread may wait for the worker. See LoggerWaits.cpp.
  KIV_HIDDEN static bool mayWaitForWorker();

  /// Ends the process if the model needs a worker and there is none.
  KIV_HIDDEN void ensureLoggerRespectsTelemetrySubmissionModel();

  /// Whether the calling thread is the one that does this logger's work.
  KIV_HIDDEN bool worksOnCurrentThread() const;

  /// Has the worker run `task`, and waits for it in the `BLOCKING` model.
  KIV_HIDDEN void postToWorker(std::function<void()> task);

  /// Has the worker call `operation` on this logger, and waits for its result.
  KIV_HIDDEN bool callOnWorker(bool (TelemetryLogger::*operation)());

  /// The same for an operation that may need the telemetry module.
  KIV_HIDDEN bool submitOnWorker(bool (TelemetryLogger::*operation)());

  /// Takes a report into its window, which in `LOCKING_IMMEDIATE` is submitted at once.
  template <typename Event, typename MakeEvent>
  KIV_HIDDEN void take(TimedAggregationManager<Event>& manager, const AggregationKey& key,
                       NumericAggregationType method, float sample, const MakeEvent& make_event);

  /// Reports a value under the name `prefix` + `name`.
  template <typename T>
  KIV_HIDDEN void recordKivEvent(const Manager<KivGenericEvent<T>>& manager,
                                 std::string_view prefix, const std::string& name, const T& value,
                                 NumericAggregationType aggregation_type);

  // All constant after construction. What the managers hold is touched by the worker only or, in
  // LOCKING_IMMEDIATE, by the calling thread.
  KivSessionId session_id_;
  std::string logger_name_;
  Manager<KivErrorCodeEvent> error_code_manager_;
  Manager<KivStreamEvent> stream_event_manager_;
  Manager<KivAudioLatencyEvent> audio_latency_manager_;
  Manager<KivGenericEvent<long long>> int64_event_manager_;
  Manager<KivGenericEvent<float>> float_event_manager_;
  Manager<KivGenericEvent<std::string>> string_event_manager_;
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
  static_assert(std::is_integral_v<T> && std::is_signed_v<T>,
                "a value is a signed integer, a float or a std::string");
  // int64_t is `long` on some platforms and `long long` on others: all integers take one road.
  logKivEvent<long long>(name, value, aggregation_type);
}

/// What all task-runner loggers of the process share: one worker thread, one aggregation per kind
/// of event, a root session, a default logger, and the telemetry switch.
///
/// The order of the data members is part of the binary interface.
class KIV_EXPORT TelemetryLoggerManager {
 public:
  /// The manager of the process, created on first use, from any thread, and never destroyed. At
  /// process exit it submits what is still aggregated. Reports after that are taken and submitted
  /// nowhere.
  static TelemetryLoggerManager& getInstance();

  TelemetryLoggerManager();
  virtual ~TelemetryLoggerManager();

  TelemetryLoggerManager(const TelemetryLoggerManager&) = delete;
  TelemetryLoggerManager& operator=(const TelemetryLoggerManager&) = delete;

  /// The default logger: no name, the root session, `NON_BLOCKING`.
  std::shared_ptr<TelemetryLogger> getTelemetryLoggerInstance();

 private:
  friend struct DeviceLayout;
  friend class TelemetryEnv;
  friend class TelemetryLogger;
  friend class TelemetryLoggerManagerTestPeer;
  friend struct SubmissionAtExit;
  friend bool isTelemetryEnabled();
  friend void disableTelemetryForTesting();

  /// At process exit: has the worker submit the open windows, and waits for it within a limit.
  KIV_HIDDEN void submitAtExit();

  /// On the worker: submits the open windows, from the last kind to the first, and counts them.
  KIV_HIDDEN void submitOpenWindows(internal::ExitProgress& progress);

  /// A logger on the shared resources, under a fresh session whose parent is a copy of
  /// `session_id`.
  KIV_HIDDEN std::shared_ptr<TelemetryLogger> createLogger(std::string name,
                                                           KivSessionId session_id, bool blocking);

  std::atomic<bool> telemetry_enabled_{true};
  // Constant after construction.
  KivSessionId session_id_;
  TelemetryLogger::Manager<KivErrorCodeEvent> error_code_manager_;
  TelemetryLogger::Manager<KivStreamEvent> stream_event_manager_;
  TelemetryLogger::Manager<KivAudioLatencyEvent> audio_latency_manager_;
  TelemetryLogger::Manager<KivGenericEvent<long long>> int64_event_manager_;
  TelemetryLogger::Manager<KivGenericEvent<float>> float_event_manager_;
  TelemetryLogger::Manager<KivGenericEvent<std::string>> string_event_manager_;
  std::shared_ptr<TaskRunnerThread> task_runner_thread_;
  std::shared_ptr<TelemetryLogger> telemetry_logger_;
};

/// A client's handle to a logger. The first one of the process also registers the default logger,
/// and a maker of `LOCKING_IMMEDIATE` loggers, with the `TelemetryDelegate`. May be constructed on
/// any thread; copies share the logger.
class KIV_EXPORT TelemetryEnv {
 public:
  /// The process's default logger.
  TelemetryEnv();

  /// A `NON_BLOCKING` logger of its own, under a fresh child session of the default logger's.
  explicit TelemetryEnv(const std::string& name);

  /// The same, under a fresh child of the given session.
  TelemetryEnv(const std::string& name, const KivSessionId& session_id);

  /// The given logger.
  explicit TelemetryEnv(std::shared_ptr<TelemetryLogger> logger);

  /// The logger, which outlives the handle for as long as somebody holds it. Never null, unless
  /// null was given.
  std::shared_ptr<TelemetryLogger> getLogger() const { return logger_; }

 private:
  friend struct DeviceLayout;

  KIV_HIDDEN static void ensureInitialized();
  KIV_HIDDEN static void init();

  std::shared_ptr<TelemetryLogger> logger_;
  std::string env_name_;  // always empty; kept for the layout
};

}  // namespace android::kiv
