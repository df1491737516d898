/// The library's own aggregations. They are measured in place of the public aggregators, which only
/// clients use that derive from them.
#pragma once

#include <memory>

#include "kiv/TelemetryLogger.h"

namespace kiv_bench {

using ErrorCodeAggregator = android::kiv::KivAggregator<android::kiv::KivErrorCodeEvent>;

/// An aggregator of error codes.
__attribute__((visibility("default"))) std::shared_ptr<ErrorCodeAggregator> makeOwnAggregator();

/// A logger on `thread`, with aggregations of its own.
__attribute__((visibility("default"))) std::shared_ptr<android::kiv::TelemetryLogger> makeOwnLogger(
    const android::kiv::KivSessionId& session, const std::string& name,
    const std::shared_ptr<android::kiv::TaskRunnerThread>& thread,
    android::kiv::TelemetrySubmissionModel model);

}  // namespace kiv_bench
