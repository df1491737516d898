// A derived logger, defined anew in each translation unit that includes this.
#include "tests/system/DerivedLoggers.h"

namespace {

class NotingLogger : public android::kiv::TelemetryLogger {
 public:
  explicit NotingLogger(derived_client::Seen& seen)
      : TelemetryLogger(android::kiv::KivSessionId(nullptr), "Noting",
                        android::kiv::TelemetrySubmissionModel::LOCKING_IMMEDIATE),
        seen_(seen) {}
  ~NotingLogger() override { seen_.emplace_back("destroyed"); }

  void logErrorCode(const std::string& error_code, const std::string& api,
                    android::kiv::KivErrorSeverity severity,
                    const std::string& kiv_class) override {
    seen_.push_back(error_code);
    TelemetryLogger::logErrorCode(error_code, api, severity, kiv_class);
  }

  std::shared_ptr<void> startTrace(const std::string& kiv_class, const std::string& name) override {
    seen_.push_back("trace " + name);
    return TelemetryLogger::startTrace(kiv_class, name);
  }

 private:
  derived_client::Seen& seen_;
};

}  // namespace
