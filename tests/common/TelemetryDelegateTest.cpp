#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "kiv/TelemetryDelegate.h"

namespace android::kiv {
namespace {

class NamedHandler : public TelemetryHandler {
 public:
  explicit NamedHandler(std::string given) : name(std::move(given)) {}

  void logKivErrorCode(KivError, const std::string&, KivErrorSeverity,
                       const std::string&) override {}
  void logKivErrorCode(KivError, int, const std::string&, KivErrorSeverity,
                       const std::string&) override {}
  void logErrorCode(const std::string&, const std::string&, KivErrorSeverity,
                    const std::string&) override {}
  bool flush() override { return true; }

  const std::string name;
};

/// The delegate is one per process: leaves it as a fresh process has it.
class TelemetryDelegateTest : public testing::Test {
 protected:
  ~TelemetryDelegateTest() override { delegate.registerHandler(nullptr, nullptr); }

  TelemetryDelegate& delegate = TelemetryDelegate::getInstance();
};

TEST_F(TelemetryDelegateTest, IsOnePerProcess) {
  EXPECT_EQ(&TelemetryDelegate::getInstance(), &delegate);
}

TEST_F(TelemetryDelegateTest, HasNoHandlerBeforeTheFirstRegistration) {
  EXPECT_EQ(delegate.getHandler(), nullptr);
  EXPECT_EQ(delegate.createHandler("mixer"), nullptr);
}

TEST_F(TelemetryDelegateTest, HandsOutTheRegisteredHandler) {
  NamedHandler handler("default");
  delegate.registerHandler(&handler, nullptr);
  EXPECT_EQ(delegate.getHandler(), &handler);
}

TEST_F(TelemetryDelegateTest, MakesHandlersByTheRegisteredFactory) {
  delegate.registerHandler(
      nullptr, [](const std::string& name) { return std::make_unique<NamedHandler>(name); });
  const auto handler = delegate.createHandler("mixer");
  EXPECT_EQ(dynamic_cast<NamedHandler&>(*handler).name, "mixer");
}

/// Uses the delegate when it is destroyed.
struct LateUser {
  ~LateUser() { TelemetryDelegate::getInstance().getHandler(); }
};

TEST_F(TelemetryDelegateTest, AFactoryThatGoesMayUseTheDelegate) {
  constexpr unsigned kHangsAfterSeconds = 30;
  alarm(kHangsAfterSeconds);
  delegate.registerHandler(
      nullptr, [user = std::make_shared<LateUser>()](const std::string&) { return nullptr; });
  delegate.registerHandler(nullptr, nullptr);
  alarm(0);
}

TEST_F(TelemetryDelegateTest, ReplacesAnEarlierRegistration) {
  NamedHandler first("first");
  NamedHandler second("second");
  delegate.registerHandler(&first, nullptr);
  delegate.registerHandler(&second, nullptr);
  EXPECT_EQ(delegate.getHandler(), &second);
}

TEST_F(TelemetryDelegateTest, LetsAFactoryUseTheDelegate) {
  NamedHandler handler("default");
  delegate.registerHandler(&handler, [&](const std::string&) {
    return std::make_unique<NamedHandler>(dynamic_cast<NamedHandler*>(delegate.getHandler())->name +
                                          "'s child");
  });
  EXPECT_EQ(dynamic_cast<NamedHandler&>(*delegate.createHandler("")).name, "default's child");
}

}  // namespace
}  // namespace android::kiv
