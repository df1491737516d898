// android::statusToString, which Android's libutils supplies and Debian's build of it does not.
#include <utils/Errors.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace android {

// Exported by the one library that is to play the platform's part.
__attribute__((visibility("default"))) std::string statusToString(status_t status) {
#define STATUS_NAME(constant) \
  case constant:              \
    return #constant
  switch (status) {
    STATUS_NAME(OK);
    STATUS_NAME(UNKNOWN_ERROR);
    STATUS_NAME(NO_MEMORY);
    STATUS_NAME(INVALID_OPERATION);
    STATUS_NAME(BAD_VALUE);
    STATUS_NAME(BAD_TYPE);
    STATUS_NAME(NAME_NOT_FOUND);
    STATUS_NAME(PERMISSION_DENIED);
    STATUS_NAME(NO_INIT);
    STATUS_NAME(ALREADY_EXISTS);
    STATUS_NAME(DEAD_OBJECT);
    STATUS_NAME(FAILED_TRANSACTION);
    STATUS_NAME(BAD_INDEX);
    STATUS_NAME(NOT_ENOUGH_DATA);
    STATUS_NAME(WOULD_BLOCK);
    STATUS_NAME(TIMED_OUT);
    STATUS_NAME(UNKNOWN_TRANSACTION);
    STATUS_NAME(FDS_NOT_ALLOWED);
    STATUS_NAME(UNEXPECTED_NULL);
    default:
      break;
  }
#undef STATUS_NAME
  // strerrordesc_np: unlike strerror it is safe to call from several threads. Numbers without a
  // description get the text that strerror has for them on the device.
  const int error = -status;
  const char* const description = strerrordesc_np(error);
  return std::to_string(status) + " (" +
         (description != nullptr ? description : "Unknown error " + std::to_string(error)) + ")";
}

}  // namespace android
