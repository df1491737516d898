#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "bench/peers/Reporter.h"
#include "bench/peers/Task.h"

namespace kiv_bench {

namespace {

class AsioReporter final : public TaskReporter {
 public:
  void report(const Report& report) override {
    boost::asio::post(pool_, bindReport(takings_, session_, report));
  }

  void post(std::function<void()> task) override { boost::asio::post(pool_, std::move(task)); }

  ~AsioReporter() override { pool_.join(); }

 private:
  const std::shared_ptr<android::kiv::KivSessionId> session_ =
      std::make_shared<android::kiv::KivSessionId>(makeSession());
  Takings takings_;
  boost::asio::thread_pool pool_{1};
};

}  // namespace

std::unique_ptr<TaskReporter> makeAsioReporter() { return std::make_unique<AsioReporter>(); }

}  // namespace kiv_bench
