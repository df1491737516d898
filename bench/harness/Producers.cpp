#include "Producers.h"

#include <thread>
#include <vector>

namespace kiv_bench {

void runProducers(size_t count, const std::function<void(size_t)>& work) {
  if (count == 1) {
    work(0);
    return;
  }
  std::vector<std::thread> threads;
  threads.reserve(count);
  for (size_t n = 0; n < count; ++n) threads.emplace_back([&work, n] { work(n); });
  for (auto& thread : threads) thread.join();
}

std::string producersText(size_t count) {
  return count == 1 ? "1 thread, pinned" : std::to_string(count) + " threads";
}

}  // namespace kiv_bench
