/// The library's version, for the preprocessor. `CHANGELOG.md` says what may change when.
#pragma once

/// Incompatible changes of the interface.
#define KIV_TELEMETRY_VERSION_MAJOR 0
/// Additions; before 1.0 also changes that need an edit in clients' sources.
#define KIV_TELEMETRY_VERSION_MINOR 1
/// Corrections.
#define KIV_TELEMETRY_VERSION_PATCH 0
