// Replaces execv in tests that run under an emulator, because the kernel cannot start their
// programs directly: the emulator starts them instead, also for GoogleTest's death tests.
#include <elf.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/RunProgram.h"

namespace {

bool isOurKind(const char* program) {
  Elf32_Ehdr header{};
  const int file = open(program, O_RDONLY | O_CLOEXEC);
  const bool readable = file != -1 && read(file, &header, sizeof(header)) == sizeof(header);
  if (file != -1) close(file);
  return readable && std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
         header.e_machine == EM_ARM;
}

}  // namespace

extern "C" int execv(const char* program, char* const arguments[]) {
  if (!isOurKind(program)) return execve(program, arguments, environ);
  std::vector<std::string> emulator = kiv_test::underEmulator({});
  std::vector<char*> command;
  for (std::string& word : emulator) command.push_back(word.data());
  command.push_back(const_cast<char*>(program));
  if (arguments[0] != nullptr) {
    for (char* const* next = arguments + 1; *next != nullptr; ++next) command.push_back(*next);
  }
  command.push_back(nullptr);
  return execvpe(command[0], command.data(), environ);
}
