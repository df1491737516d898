#include "tamsa/LinkerError.h"

#include <dlfcn.h>

#include <cstring>

#ifndef __ANDROID__
#include <link.h>
#include <unistd.h>

#include <memory>
#include <new>
#endif

namespace TAMSA::internal {

namespace {

#ifdef __ANDROID__

/// The linker names a file that it found with its directory. If it found none, it repeats the name.
bool concernsAFile(const char* error, const char* /*module*/) {
  return std::memchr(error, '/', std::strlen(error)) != nullptr;
}

#else

/// True if a directory that the dynamic linker searches has a file of that name. Needed because
/// glibc skips files for another processor, and then reports that there is no such file.
bool isInSearchedDirectory(const char* module) {
  Dl_info info{};
  void* caller = nullptr;
  if (dladdr1(reinterpret_cast<void*>(&isInSearchedDirectory), &info, &caller, RTLD_DL_LINKMAP) ==
      0) {
    return false;
  }
  Dl_serinfo size{};
  if (dlinfo(caller, RTLD_DI_SERINFOSIZE, &size) != 0) return false;
  const std::unique_ptr<char[]> memory(new char[sizeof(size) + size.dls_size]);
  auto* const search = new (memory.get()) Dl_serinfo(size);
  if (dlinfo(caller, RTLD_DI_SERINFO, search) != 0) return false;
  const Dl_serpath* const directories = search->dls_serpath;
  std::string file;
  for (unsigned i = 0; i < size.dls_cnt; ++i) {
    file.clear();
    file.append(directories[i].dls_name).append("/").append(module);
    if (access(file.c_str(), F_OK) == 0) return true;
  }
  return false;
}

/// The linker names a file that it found with its directory, and a missing library with its own
/// name. After the module's bare name the text does not tell, and may be in another language.
bool concernsAFile(const char* error, const char* module) {
  return std::strncmp(error, module, std::strlen(module)) != 0 || isInSearchedDirectory(module);
}

#endif

}  // namespace

void takeLoadError(const char* module, std::string& error) {
  const char* const text = dlerror();
  if (text == nullptr) return;
  // The text is gone after the next call of the dynamic linker.
  error += text;
  if (!concernsAFile(error.c_str(), module)) error.clear();
}

}  // namespace TAMSA::internal
