// Reports an event when the static destructors of the module have already run.
#include <unistd.h>

#include <cstdlib>
#include <exception>

#include "LoadedModule.h"

namespace {

kiv_test::ITelemetryHandler* handler = nullptr;

void reportAtExit() {
  if (handler == nullptr) return;
  auto* const event = handler->createEvent("late");
  event->setStringField("text", "said at exit");
  _exit(handler->reportEvent(event, 1) ? 0 : 1);
}

}  // namespace

int main() try {
  // Registered before the module is there, so that it runs after all that the module registers.
  if (std::atexit(reportAtExit) != 0) return 1;
  const kiv_test::LoadedModule module(JSONL_MODULE);
  handler = module.createHandler().release();
  return 1;
} catch (const std::exception&) {
  return 1;
}
