/// Visibility of the symbols of libkivtelemetry. It is built hidden; what clients may link against
/// is marked here and listed in the export list.
#pragma once

/// Exports a class or function.
#define KIV_EXPORT __attribute__((visibility("default")))
/// Hides a member of an exported class.
#define KIV_HIDDEN __attribute__((visibility("hidden")))
