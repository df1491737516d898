/// Visibility of the common library's symbols. It is built hidden; what other libraries may link
/// against is marked here and listed in its export list.
#pragma once

/// Exports a class or function.
#define KIV_COMMON_EXPORT __attribute__((visibility("default")))
