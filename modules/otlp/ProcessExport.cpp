#include "ProcessExport.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ExportLog.h"
#include "ExportWorker.h"
#include "OtlpConfig.h"

namespace TAMSA::otlp {

namespace {

struct Export {
  const pid_t process;
  ExportWorker* const worker;     ///< Null if export is switched off.
  const Export* const inherited;  ///< The parent's, in a fork; not ours to use.
};

std::atomic<const Export*> current{nullptr};

bool isOurs(const Export* candidate) {
  return candidate != nullptr && candidate->process == getpid();
}

ExportWorker* ourWorker() {
  const Export* const found = current.load(std::memory_order_acquire);
  return isOurs(found) ? found->worker : nullptr;
}

void hurryAtExit() {
  if (ExportWorker* const worker = ourWorker()) worker->hurry();
}

/// The library's last windows come after exit handlers that were registered later than its own, as
/// this is; but while these run, more still works of what export needs than at the very end.
void watchExit() {
  static const int watching = std::atexit(hurryAtExit);
  static_cast<void>(watching);
}

// Run when all exit handlers are through, in those libraries that are closed at last.
__attribute__((destructor)) void finishAtTheEnd() {
  if (ExportWorker* const worker = ourWorker()) worker->finish();
}

std::unique_ptr<Export> makeExport(const Export* inherited) {
  std::vector<std::string> warnings;
  const OtlpConfig config =
      readConfig([](const char* name) { return std::getenv(name); }, describeProcess(), warnings);
  // A fork has them from its parent.
  if (inherited == nullptr) {
    for (const std::string& warning : warnings) ExportLog::warn(warning);
  }
  ExportWorker* const worker = config.is_disabled ? nullptr : new ExportWorker(config);
  return std::make_unique<Export>(Export{getpid(), worker, inherited});
}

const Export& ourExport() {
  const Export* found = current.load(std::memory_order_acquire);
  if (isOurs(found)) return *found;
  // Two threads may both come here. What the slower one made stays behind, unused and small.
  auto made = makeExport(found);
  if (current.compare_exchange_strong(found, made.get())) {
    watchExit();
    return *made.release();
  }
  return *found;
}

}  // namespace

void prepareExport() { ourExport(); }

bool report(LogRecord record) {
  ExportWorker* const worker = ourExport().worker;
  return worker == nullptr || worker->report(std::move(record));
}

}  // namespace TAMSA::otlp
