/// Calls that the programs of these tests make on loggers.
#pragma once

#include <memory>
#include <string>

#include "kiv/TelemetryLogger.h"

namespace kiv_test {

constexpr android::kiv::TelemetrySubmissionModel kEveryModel[] = {
    android::kiv::TelemetrySubmissionModel::NON_BLOCKING,
    android::kiv::TelemetrySubmissionModel::BLOCKING,
    android::kiv::TelemetrySubmissionModel::LOCKING_IMMEDIATE};

/// A `NON_BLOCKING` logger on a worker, windows and public aggregators of its own.
std::shared_ptr<android::kiv::TelemetryLogger> makeOwnLogger();

/// Reports a value of the given name, as many times.
void report(android::kiv::TelemetryLogger& logger, const std::string& name, int times);

/// One report of each kind; those that have a name are "integer", "float" and "text".
void reportEveryKind(android::kiv::TelemetryLogger& logger);

/// Every operation at least once, what `reportEveryKind` reports once. Leaves the logger started.
void callEverything(android::kiv::TelemetryLogger& logger);

}  // namespace kiv_test
