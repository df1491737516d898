/// Finds the first difference between actual and expected events, log lines or module calls.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "modules/recording/Recorder.h"
#include "tests/model/Reference.h"

namespace kiv_test::model {

/// The first difference, as text. Fields must be set group by group; their order within a group
/// does not matter. `handlers` maps aggregations to their handlers, as far as known.
std::optional<std::string> firstDifference(const std::vector<ExpectedEvent>& expected,
                                           const std::vector<TAMSA::recording::Event>& actual,
                                           std::map<int, int> handlers);

/// The first difference between log lines, or between calls of the module.
template <typename T>
std::optional<std::string> firstDifference(const std::string& what, const std::vector<T>& expected,
                                           const std::vector<T>& actual);

}  // namespace kiv_test::model
