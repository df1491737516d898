/// Tells a module that the dynamic linker found but could not load from one that is absent.
#pragma once

#include <string>

namespace TAMSA::internal {

/// Takes the calling thread's last error of the dynamic linker, after a failed attempt to open
/// `module`. Adds its text to an empty `error`, unless no file of that name was found.
void takeLoadError(const char* module, std::string& error);

}  // namespace TAMSA::internal
