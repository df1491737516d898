// A libkivcommon that has what libkivtelemetry takes from it, and nothing else. Its worker is the
// thread that posts.
#include <cstdio>
#include <utility>

#include "kiv/AssertionReport.h"
#include "kiv/TaskRunner.h"
#include "kiv/TelemetryDelegate.h"

namespace android::kiv {

namespace {

thread_local bool in_task = false;

}  // namespace

#ifndef LACKS_ASSERTION_REPORT
void logAssertionErrorCode(const char* condition, const char* /*detail*/, const char* function,
                           int line) {
  std::fprintf(stderr, "stub assertion: %s %s %d\n", condition, function, line);
}
#endif

TaskRunnerThread::TaskRunnerThread(std::chrono::milliseconds /*start_limit*/)
    : worker_(pthread_self()) {}
TaskRunnerThread::~TaskRunnerThread() { static_cast<void>(worker_); }

TaskRunner::TaskRunner(std::weak_ptr<TaskRunnerThread> thread) : thread_(std::move(thread)) {}
TaskRunner::~TaskRunner() = default;

void TaskRunner::postTask(std::function<void()> task) { postTaskAndWait(std::move(task)); }

KivStatus TaskRunner::postTaskAndWait(std::function<void()> task) {
  in_task = true;
  task();
  in_task = false;
  return OK;
}

bool TaskRunner::isRunningOnCurrentThread() const { return in_task; }

TelemetryHandler::~TelemetryHandler() = default;

TelemetryDelegate& TelemetryDelegate::getInstance() {
  static TelemetryDelegate* const instance = new TelemetryDelegate;
  return *instance;
}

void TelemetryDelegate::registerHandler(TelemetryHandler* handler, HandlerFactory factory) {
  handler_ = handler;
  factory_ = std::move(factory);
}

}  // namespace android::kiv
