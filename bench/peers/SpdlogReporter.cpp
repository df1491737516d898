#include <spdlog/async.h>
#include <spdlog/sinks/base_sink.h>

#include <future>

#include "bench/peers/Reporter.h"

namespace kiv_bench {

namespace {

/// spdlog's null sink, with a sign when it is flushed.
class NullSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 public:
  std::future<void> nextFlush() {
    flushed_ = {};
    return flushed_.get_future();
  }

 protected:
  void sink_it_(const spdlog::details::log_msg& /*message*/) override {}
  void flush_() override { flushed_.set_value(); }

 private:
  std::promise<void> flushed_;
};

/// One worker and a queue of spdlog's default length, which makes callers wait when it is full. The
/// session is the logger's name, and so part of every message.
class SpdlogReporter final : public Reporter {
 public:
  SpdlogReporter()
      : pool_(std::make_shared<spdlog::details::thread_pool>(spdlog::details::default_async_q_size,
                                                             1)),
        sink_(std::make_shared<NullSink>()),
        logger_(std::make_shared<spdlog::async_logger>(makeSession().toString(), sink_, pool_)) {}

  void report(const Report& report) override {
    logger_->log(spdlog::level::err, "{} {} {} {}", report.error_code, report.api,
                 static_cast<int>(report.severity), report.kiv_class);
  }

  void drain() override {
    const auto flushed = sink_->nextFlush();
    logger_->flush();
    flushed.wait();
  }

 private:
  std::shared_ptr<spdlog::details::thread_pool> pool_;
  std::shared_ptr<NullSink> sink_;
  std::shared_ptr<spdlog::async_logger> logger_;
};

}  // namespace

std::unique_ptr<Reporter> makeSpdlogReporter() { return std::make_unique<SpdlogReporter>(); }

}  // namespace kiv_bench
