// Reports an event when the static destructors of the module have already run, or, with a number as
// argument, that many events before a normal exit.
#include <android/log.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>

#include "tests/modules/LoadedModule.h"

namespace {

kiv_test::ITelemetryHandler* handler = nullptr;

bool report(kiv_test::ITelemetryEvent& event, const char* text) {
  event.setStringField("text", text);
  return handler->reportEvent(&event, 1);
}

void reportAtExit() {
  if (handler != nullptr) _exit(report(*handler->createEvent("late"), "said at exit") ? 0 : 1);
}

}  // namespace

int main(int argc, char** argv) try {
  __android_log_set_logger(__android_log_stderr_logger);
  const bool is_late = argc == 1;
  // Registered before the module is loaded, so it runs after all that the module registers.
  if (is_late && std::atexit(reportAtExit) != 0) return 1;
  const kiv_test::LoadedModule module(JSONL_MODULE);
  handler = module.createHandler().release();
  if (is_late) return 1;
  for (int count = std::atoi(argv[1]); count > 0; --count) {
    if (!report(*module.createEvent(*handler, "early"), "said before the exit")) return 1;
  }
  return 0;
} catch (const std::exception&) {
  return 1;
}
