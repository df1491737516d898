/// Finds the first place where what happened differs from what should have.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "modules/recording/Recorder.h"
#include "tests/model/Reference.h"

namespace kiv_test::model {

/// What differs first, in words. Fields set in other groups than they belong to differ too; their
/// order within a group does not matter. `handlers` says which handler serves which aggregation,
/// as far as that is known.
std::optional<std::string> firstDifference(const std::vector<ExpectedEvent>& expected,
                                           const std::vector<TAMSA::recording::Event>& actual,
                                           std::map<int, int> handlers);

/// The same of log lines or calls of the module.
template <typename T>
std::optional<std::string> firstDifference(const std::string& what, const std::vector<T>& expected,
                                           const std::vector<T>& actual);

}  // namespace kiv_test::model
