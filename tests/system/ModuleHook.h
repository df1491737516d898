/// Code of a program that the hooked module runs.
#pragma once

#include <functional>
#include <string>

namespace kiv_test {

/// Calls `run` whenever the module's operation of that name is called, also while the process
/// exits. Call it before the first report.
void onModuleCallDo(const std::string& operation, std::function<void()> run);

}  // namespace kiv_test
