/// Visibility of the libraries' symbols. Everything is built hidden; what clients may link against
/// is marked here and listed in the library's export list.
#pragma once

#define KIV_EXPORT __attribute__((visibility("default")))
#define KIV_HIDDEN __attribute__((visibility("hidden")))
