# Android's log and status constants, as Debian packages them for hosts (android-liblog-dev,
# android-libutils-dev). Defines the imported target AndroidHost::log.

find_path(AndroidHost_INCLUDE_DIR NAMES android/log.h PATH_SUFFIXES android)
find_path(AndroidHost_UTILS_INCLUDE_DIR NAMES utils/Errors.h PATH_SUFFIXES android)
find_library(AndroidHost_LOG_LIBRARY NAMES log PATH_SUFFIXES android)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
  AndroidHost
  REQUIRED_VARS AndroidHost_LOG_LIBRARY AndroidHost_INCLUDE_DIR AndroidHost_UTILS_INCLUDE_DIR
  REASON_FAILURE_MESSAGE
    "Missing: the Android log or its headers. On Debian: apt install android-liblog-dev android-libutils-dev"
)

if(AndroidHost_FOUND AND NOT TARGET AndroidHost::log)
  add_library(AndroidHost::log UNKNOWN IMPORTED)
  set_target_properties(
    AndroidHost::log
    PROPERTIES IMPORTED_LOCATION "${AndroidHost_LOG_LIBRARY}"
               INTERFACE_INCLUDE_DIRECTORIES
               "${AndroidHost_INCLUDE_DIR};${AndroidHost_UTILS_INCLUDE_DIR}")
endif()
mark_as_advanced(AndroidHost_INCLUDE_DIR AndroidHost_UTILS_INCLUDE_DIR AndroidHost_LOG_LIBRARY)
