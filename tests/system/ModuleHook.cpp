#include "tests/system/ModuleHook.h"

#include <utility>

namespace {

struct Hook {
  std::string operation;
  std::function<void()> run;
};

/// Never destroyed: the module is called while the process exits.
const Hook* hook = nullptr;

}  // namespace

extern "C" __attribute__((visibility("default"))) void onModuleCall(const char* operation);
void onModuleCall(const char* operation) {
  if (hook != nullptr && hook->operation == operation) hook->run();
}

namespace kiv_test {

void onModuleCallDo(const std::string& operation, std::function<void()> run) {
  hook = new Hook{operation, std::move(run)};
}

}  // namespace kiv_test
