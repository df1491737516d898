#include "modules/otlp/ProcessExport.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>

#include "modules/otlp/ExportLog.h"
#include "modules/otlp/ExportWorker.h"
#include "modules/otlp/OtlpConfig.h"
#include "modules/otlp/ProcessDescription.h"
#include "modules/support/LossLog.h"

namespace TAMSA::otlp {

namespace {

/// Never destroyed once it is in use, because events come until the very end of the process.
struct Export {
  explicit Export(const Export* parents) : inherited(parents) {}

  const pid_t process = getpid();
  ExportWorker* worker = nullptr;            ///< Null if nothing is sent.
  bool has_endpoint = true;                  ///< Otherwise, events are lost.
  support::LossLog losses{ExportLog::kTag};  ///< Because there is no endpoint.
  /// In a fork, the parent's, which must not be used: only kept, so that it is not called a leak.
  const Export* const inherited;
};

std::atomic<Export*> current{nullptr};

bool isOurs(const Export* candidate) {
  return candidate != nullptr && candidate->process == getpid();
}

Export* findExport() {
  Export* const found = current.load(std::memory_order_acquire);
  return isOurs(found) ? found : nullptr;
}

void flushAtExit() {
  Export* const found = findExport();
  if (found == nullptr) return;
  if (found->worker != nullptr) found->worker->flushOrLose();
  found->losses.logPending();
}

/// The library's exit handler may be older than this one, so its last windows may come later. But
/// while exit handlers run, more of what export needs still works than at the very end.
///
/// If the first window comes while the loader finalizes libraries, the loader does not finalize
/// this module, which was loaded then. Only this handler is called, after all libraries.
void watchExit() {
  // A static variable with an initializer would have a lock, which a fork may inherit locked.
  static std::atomic<bool> is_watching{false};
  if (!is_watching.exchange(true)) std::atexit(flushAtExit);
}

// Runs after the exit handlers of the program, when the loader finalizes libraries.
__attribute__((destructor)) void finishAtTheEnd() {
  Export* const found = findExport();
  if (found == nullptr) return;
  if (found->worker != nullptr) found->worker->finish();
  found->losses.logPending();
}

std::unique_ptr<Export> makeExport(const Export* inherited) {
  ConfigProblems problems;
  const OtlpConfig config =
      readConfig([](const char* name) { return std::getenv(name); }, describeProcess(), problems);
  // In a fork, the parent has logged them.
  if (inherited == nullptr) {
    for (const std::string& error : problems.errors) ExportLog::error(error);
    for (const std::string& warning : problems.warnings) ExportLog::warn(warning);
  }
  auto made = std::make_unique<Export>(inherited);
  made->has_endpoint = config.is_disabled || !config.url.empty();
  if (!config.is_disabled && made->has_endpoint) made->worker = new ExportWorker(config);
  return made;
}

Export& ourExport() {
  Export* found = current.load(std::memory_order_acquire);
  if (isOurs(found)) return *found;
  // If two threads come here, the slower one's worker stays behind, unused and small.
  auto made = makeExport(found);
  if (current.compare_exchange_strong(found, made.get())) {
    watchExit();
    return *made.release();
  }
  return *found;
}

}  // namespace

void prepareExport() { ourExport(); }

void report(const support::Event& event, uint64_t source) {
  Export& ours = ourExport();
  if (ours.worker != nullptr) {
    ours.worker->report(event, source);
  } else if (!ours.has_endpoint) {
    support::LossTable losses;
    losses.add({"the endpoint is not an HTTP URL"}, {1, support::reportCount(event.fields())});
    ours.losses.add(losses, std::chrono::steady_clock::now());
  }
}

}  // namespace TAMSA::otlp
