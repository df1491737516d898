#include "modules/jsonl/JsonlSink.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "modules/jsonl/JsonLine.h"
#include "modules/jsonl/WriteSignalBlock.h"
#include "modules/support/LossLog.h"

namespace TAMSA::jsonl {

namespace {

using support::LossCause;
using support::LossCount;
using support::LossTable;

/// Never destroyed, because events come until the very end of the process.
struct ProcessLosses {
  const pid_t process = getpid();
  support::LossLog log{"TamsaJsonl"};
};

std::atomic<ProcessLosses*> process_losses{nullptr};

bool isOurs(const ProcessLosses* losses) {
  return losses != nullptr && losses->process == getpid();
}

ProcessLosses* findLosses() {
  ProcessLosses* const found = process_losses.load(std::memory_order_acquire);
  return isOurs(found) ? found : nullptr;
}

void logPendingLosses() {
  ProcessLosses* const losses = findLosses();
  const WriteSignalBlock signals;
  if (losses != nullptr) losses->log.logPending();
}

/// If the first window comes while the loader finalizes libraries, the loader does not finalize
/// this module, which was loaded then. Only this handler is called, after all libraries.
void watchExit() {
  // A static variable with an initializer would have a lock, which a fork may inherit locked.
  static std::atomic<bool> is_watching{false};
  if (!is_watching.exchange(true)) std::atexit(logPendingLosses);
}

// Runs after the exit handlers of the program: the library may submit its last windows after them.
__attribute__((destructor)) void logAtTheEnd() { logPendingLosses(); }

support::LossLog& ourLossLog() {
  if (ProcessLosses* const found = findLosses()) return found->log;
  watchExit();
  ProcessLosses* known = process_losses.load(std::memory_order_acquire);
  // A fork gets a log of its own: a thread of the parent may have held the lock of the copy.
  auto made = std::make_unique<ProcessLosses>();
  if (process_losses.compare_exchange_strong(known, made.get())) return made.release()->log;
  return known->log;
}

void logLosses(support::LossLog& log, const LossTable& losses) {
  // The log may be a file or a pipe with the same problem.
  const WriteSignalBlock signals;
  log.add(losses, std::chrono::steady_clock::now());
}

std::string pathFromEnvironment() {
  const char* const path = std::getenv("TAMSA_JSONL_PATH");
  return path != nullptr && *path != '\0' ? path : "telemetry.jsonl";
}

}  // namespace

bool JsonlSink::take(const support::Event& event) {
  const int error = appender_.append(toJsonLine(event));
  if (error != 0) {
    LossTable losses;
    losses.add(LossCause{"cannot write to " + appender_.path() + ": " + std::strerror(error)},
               LossCount{1, support::reportCount(event.fields())});
    logLosses(ourLossLog(), losses);
  } else if (ProcessLosses* const before = findLosses()) {
    logLosses(before->log, LossTable());
  }
  return true;
}

}  // namespace TAMSA::jsonl

namespace TAMSA::support {

std::unique_ptr<EventSink> createEventSink() {
  return std::make_unique<jsonl::JsonlSink>(jsonl::pathFromEnvironment());
}

}  // namespace TAMSA::support
