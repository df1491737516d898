/// Two threads that wake each other in turn: what waiting for another thread costs at least.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace kiv_bench {

class PingPong {
 public:
  PingPong() : partner_([this] { run(); }) {}

  ~PingPong() {
    serve(Ball::GONE);
    partner_.join();
  }

  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;

  /// Wakes the partner, and returns when it has answered.
  void play() {
    serve(Ball::THERE);
    std::unique_lock lock(mutex_);
    answered_.wait(lock, [this] { return ball_ == Ball::HERE; });
  }

 private:
  enum class Ball { HERE, THERE, GONE };

  void serve(Ball ball) {
    {
      std::lock_guard lock(mutex_);
      ball_ = ball;
    }
    served_.notify_one();
  }

  void run() {
    for (;;) {
      std::unique_lock lock(mutex_);
      served_.wait(lock, [this] { return ball_ != Ball::HERE; });
      if (ball_ == Ball::GONE) return;
      ball_ = Ball::HERE;
      lock.unlock();
      answered_.notify_one();
    }
  }

  std::mutex mutex_;
  std::condition_variable served_;
  std::condition_variable answered_;
  Ball ball_ = Ball::HERE;
  std::thread partner_;
};

}  // namespace kiv_bench
