/// Visibility of the symbols of libkivtelemetry. It is built hidden; what clients may link against
/// is marked here and listed in the export list.
#pragma once

/// For what clients may link against.
#define KIV_EXPORT __attribute__((visibility("default")))
/// For members of exported classes that are the library's own.
#define KIV_HIDDEN __attribute__((visibility("hidden")))
