// Reports events to the module. Arguments:
//   (none)          one event, when the static destructors of the module have already run
//   before NUMBER   before a normal exit
//   at-end NUMBER   when the loader finalizes the program, which loads the module only then
#include <android/log.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <string>

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

int count_at_end = 0;

void reportSeveral(int count) {
  const kiv_test::LoadedModule module(JSONL_MODULE);
  handler = module.createHandler().release();
  for (; count > 0; --count) {
    if (!report(*module.createEvent(*handler, "one of several"), "said")) std::abort();
  }
}

[[gnu::destructor]] void reportAtEnd() {
  if (count_at_end > 0) reportSeveral(count_at_end);
}

}  // namespace

int main(int argc, char** argv) try {
  __android_log_set_logger(__android_log_stderr_logger);
  if (argc == 3) {
    const int count = std::atoi(argv[2]);
    if (argv[1] == std::string("at-end")) {
      count_at_end = count;
    } else {
      reportSeveral(count);
    }
    return 0;
  }
  // Registered before the module is loaded, so it runs after all that the module registers.
  if (std::atexit(reportAtExit) != 0) return 1;
  const kiv_test::LoadedModule module(JSONL_MODULE);
  handler = module.createHandler().release();
  return 1;
} catch (const std::exception&) {
  return 1;
}
