// Prints the number and the text of each error that the library has a name for.
#include <cstdio>

#include "kiv/KivError.h"

int main() {
  for (int32_t number = -32768; number < 65536; ++number) {
    const std::string name = android::kiv::kivErrorToString(android::kiv::KivError{number});
    if (name != std::to_string(number)) std::printf("%d kiv.%s\n", number, name.c_str());
  }
}
