#include "bench/harness/Log.h"

#include <android/log.h>

namespace kiv_bench {

void discardLog() {
  __android_log_set_logger([](const __android_logger_data* /*data*/, const char* /*message*/) {});
}

}  // namespace kiv_bench
