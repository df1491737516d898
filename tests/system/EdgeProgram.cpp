// Does what its argument names, at the edges of what a program may do to the library. It limits
// itself: what hangs is ended by its alarm.
#include <android/log.h>
#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kiv/TelemetryDelegate.h"
#include "kiv/TelemetryLogger.h"
#include "tests/support/Latch.h"
#include "tests/system/Calls.h"
#include "tests/system/ModuleHook.h"

namespace {

using android::kiv::KivErrorSeverity;
using android::kiv::KivSessionId;
using android::kiv::TaskRunner;
using android::kiv::TaskRunnerThread;
using android::kiv::TelemetryDelegate;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryHandler;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetryLoggerManager;
using android::kiv::TelemetrySubmissionModel;
using kiv_test::Latch;
using kiv_test::onModuleCallDo;
using kiv_test::report;

/// The limit of every call, and of every exit.
constexpr unsigned kHangsAfterSeconds = 30;

// Looked up before main(): the functions that replace these must not need the loader.
[[maybe_unused]] auto* const real_pthread_create =
    reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
[[maybe_unused]] auto* const real_sem_clockwait =
    reinterpret_cast<decltype(&sem_clockwait)>(dlsym(RTLD_NEXT, "sem_clockwait"));

std::shared_ptr<TelemetryLogger> makeLogger(TelemetrySubmissionModel model) {
  return std::make_shared<TelemetryLogger>(KivSessionId(nullptr), "Edge", model);
}

// The delegate's handler.

void logThroughHandler() {
  TelemetryDelegate::getInstance().getHandler()->logErrorCode("code", "api", KivErrorSeverity::INFO,
                                                              "class");
}

bool handler_is_used_after_everything = false;

/// Runs when every library has been finalized.
void useHandlerAfterEverything(int /*status*/, void* /*unused*/) {
  if (!handler_is_used_after_everything) return;
  logThroughHandler();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  logThroughHandler();
  std::fputs("reported after everything\n", stderr);
}

// Called before any library is initialized, so what it registers is called when all are finalized.
using Initializer = void (*)(int, char**, char**);
[[gnu::section(".preinit_array"), gnu::used]] const Initializer register_first =
    [](int, char**, char**) { on_exit(useHandlerAfterEverything, nullptr); };

int useHandlerUntilTheEnd() {
  const TelemetryEnv telemetry("Edge");
  __android_log_set_logger([](const __android_logger_data*, const char*) {});
  Latch reporting;
  std::thread([&] {
    for (bool first = true;; first = false) {
      logThroughHandler();
      if (first) reporting.countDown();
    }
  }).detach();
  reporting.wait();
  handler_is_used_after_everything = true;
  return 0;
}

// Signals.

/// Brings up the worker before main() blocks any signal.
const std::optional<TelemetryEnv> early = std::getenv("TELEMETRY_BEFORE_MAIN") != nullptr
                                              ? std::optional<TelemetryEnv>("Early")
                                              : std::nullopt;

int readSignalFromDescriptor() {
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &terminate, nullptr);
  const int descriptor = signalfd(-1, &terminate, SFD_CLOEXEC);
  kill(getpid(), SIGTERM);
  signalfd_siginfo info{};
  if (read(descriptor, &info, sizeof(info)) != sizeof(info)) return 1;
  std::fprintf(stderr, "read signal %u\n", info.ssi_signo);
  return 0;
}

/// The worker writes its log lines to standard error, which has no reader any more.
int logToClosedPipe() {
  int ends[2];
  if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) == -1) return 1;
  close(ends[0]);
  close(ends[1]);
  const TelemetryEnv telemetry("Edge");
  telemetry.getLogger()->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  return telemetry.getLogger()->flush() ? 0 : 1;
}

/// A fault of the worker's own reaches the program's handler.
int faultOnWorker() {
  std::signal(SIGSEGV, [](int) {
    static_cast<void>(!write(STDERR_FILENO, "handled\n", 8));
    _exit(0);
  });
  onModuleCallDo("reportEvent", [] { raise(SIGSEGV); });
  const TelemetryEnv telemetry("Edge");
  report(*telemetry.getLogger(), "n", 1);
  telemetry.getLogger()->flush();
  return 1;
}

// Exit behind threads that make loggers.

int exitBehindMakers(size_t kind) {
  const TelemetryEnv telemetry("Edge");
  const std::vector<std::function<void()>> makers = {
      [] { const TelemetryEnv made("x"); }, [] { TelemetryLoggerManager::getInstance(); },
      [&] { static_cast<void>(telemetry.getLogger()->startTrace("class", "name")); },
      [] { TelemetryDelegate::getInstance().createHandler("x"); }};
  constexpr size_t kThreads = 8;
  Latch making(kThreads);
  for (size_t i = 0; i < kThreads; ++i) {
    std::thread([&, make = makers.at(kind)] {
      make();
      making.countDown();
      for (;;) make();
    }).detach();
  }
  making.wait();
  alarm(3);
  std::exit(0);
}

int exitAfterCancellation() {
  const TelemetryEnv telemetry("Edge");
  for (int i = 0; i < 20; ++i) {
    Latch making;
    std::thread maker([&] {
      for (bool first = true;; first = false) {
        const TelemetryEnv made("x");
        if (first) making.countDown();
      }
    });
    making.wait();
    pthread_cancel(maker.native_handle());
    maker.detach();
  }
  const TelemetryEnv still_works("y");
  report(*still_works.getLogger(), "after cancellation", 2);
  return 0;
}

/// The first use of all on one thread while another one ends the process.
int firstUseDuringExit() {
  std::thread([] {
    for (;;) report(*TelemetryEnv("x").getLogger(), "n", 1);
  }).detach();
  return 0;
}

/// The first handle replaces a factory whose last owner makes a handle when it goes.
int replaceAFactory() {
  struct Owned {
    ~Owned() { report(*TelemetryEnv("of the factory").getLogger(), "from the factory", 1); }
  };
  TelemetryDelegate::getInstance().registerHandler(
      nullptr, [owned = std::make_shared<Owned>()](const std::string& /*name*/) {
        return std::unique_ptr<TelemetryHandler>();
      });
  const TelemetryEnv telemetry("Edge");
  return 0;
}

/// A thread is cancelled while it waits for the first use on another one.
int cancelDuringFirstUse() {
  Latch replacing;
  Latch released;
  std::shared_ptr<void> replaced(nullptr, [&](void* /*none*/) {
    replacing.countDown();
    released.wait();
  });
  TelemetryDelegate::getInstance().registerHandler(
      nullptr, [replaced = std::move(replaced)](const std::string& /*name*/) {
        return std::unique_ptr<TelemetryHandler>();
      });
  std::thread first([] { const TelemetryEnv telemetry("first"); });
  replacing.wait();
  std::thread waiting([] { const TelemetryEnv telemetry("waiting"); });
  // Most often it waits by then; the test holds in either order.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  pthread_cancel(waiting.native_handle());
  // Most often a cancellation that interrupts the wait has done so by then.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  released.countDown();
  first.join();
  waiting.join();
  report(*TelemetryEnv("Edge").getLogger(), "after cancellation", 2);
  return 0;
}

// The loader's lock.

int loadPlugin() {
  if (std::getenv("REPORT_BEFORE_PLUGIN") != nullptr) {
    const TelemetryEnv telemetry("Edge");
    report(*telemetry.getLogger(), "before", 1);
  }
  void* const plugin = dlopen(LOADER_LOCK_PLUGIN, RTLD_NOW);
  if (plugin == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  dlclose(plugin);
  return 0;
}

// No memory, no thread.

/// Counts down to the allocation of the main thread that fails.
thread_local int allocations_left = -1;

bool no_more_threads = false;

int failAllocation(int n) {
  const std::string name = "a name that no string holds in itself";
  try {
    allocations_left = n;
    const TelemetryEnv telemetry(name);
    telemetry.getLogger()->flush();
    const auto thread = TaskRunnerThread::create(std::chrono::seconds(1));
    TaskRunner(thread).postTaskAndWait<bool>([] { return true; });
    allocations_left = -1;
  } catch (...) {
    allocations_left = -1;
    std::fputs("an exception reached the client\n", stderr);
    return 3;
  }
  std::fputs("enough memory\n", stderr);
  return 0;
}

int failThread() {
  try {
    no_more_threads = true;
    const TelemetryEnv telemetry("Edge");
  } catch (...) {
    std::fputs("an exception reached the client\n", stderr);
  }
  return 3;
}

/// The module throws.
int throwFromModule() {
  onModuleCallDo("reportEvent", [] { throw std::runtime_error("of the module"); });
  try {
    report(*makeLogger(TelemetrySubmissionModel::LOCKING_IMMEDIATE), "n", 1);
  } catch (...) {
    std::fputs("an exception reached the client\n", stderr);
  }
  return 3;
}

// The shared worker.

int waitForSharedWorker() {
  const TelemetryEnv telemetry("Edge");
  return telemetry.getLogger()->flush() ? 0 : 1;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void reportImmediatelyElsewhere();
void reportImmediatelyElsewhere() {
  static Latch begun;
  std::thread([] {
    const auto logger = makeLogger(TelemetrySubmissionModel::LOCKING_IMMEDIATE);
    begun.countDown();
    report(*logger, "immediate", 1);
  }).detach();
  begun.wait();
  // Most often the thread waits for the loader by then; the test holds in either order.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

#ifdef KIV_REPLACES_FUNCTIONS

/// The library's calls come here, as the program is searched first.
__attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                          const pthread_attr_t* attributes,
                                                          void* (*start)(void*), void* argument) {
  if (no_more_threads) return EAGAIN;
  return real_pthread_create(thread, attributes, start, argument);
}

/// Says how long a wait lasts at most: less than the first number, and not less than the second.
__attribute__((visibility("default"))) int sem_clockwait(sem_t* semaphore, clockid_t clock,
                                                         const timespec* end) {
  if (std::getenv("PRINT_WAITS") != nullptr) {
    static thread_local bool first = true;
    timespec now{};
    clock_gettime(clock, &now);
    const double left = static_cast<double>(end->tv_sec - now.tv_sec) +
                        static_cast<double>(end->tv_nsec - now.tv_nsec) / 1e9;
    // A worker's own waits are below a millisecond.
    if (std::exchange(first, false) && left > 0.01) std::fprintf(stderr, "waits %f\n", left);
  }
  return real_sem_clockwait(semaphore, clock, end);
}

#endif

}  // extern "C"

#ifdef KIV_REPLACES_FUNCTIONS

// Not inlined: where only one of a pair is, the compiler takes them for a mismatch.
__attribute__((noinline)) void* operator new(size_t size) {
  if (allocations_left >= 0 && allocations_left-- == 0) throw std::bad_alloc();
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }

__attribute__((noinline)) void operator delete(void* memory, size_t /*size*/) noexcept {
  std::free(memory);
}

#endif

int main(int argc, char** argv) {
  const std::map<std::string, std::function<int()>> ways = {
      {"handler", useHandlerUntilTheEnd},
      {"signalfd", readSignalFromDescriptor},
      {"closed-pipe", logToClosedPipe},
      {"fault", faultOnWorker},
      {"makers", [&] { return exitBehindMakers(static_cast<size_t>(std::atoi(argv[2]))); }},
      {"cancel", exitAfterCancellation},
      {"first-use", firstUseDuringExit},
      {"factory", replaceAFactory},
      {"cancel-first-use", cancelDuringFirstUse},
      {"plugin", loadPlugin},
      {"memory", [&] { return failAllocation(std::atoi(argv[2])); }},
      {"thread", failThread},
      {"throw", throwFromModule},
      {"wait", waitForSharedWorker},
  };
  const auto way = argc >= 2 ? ways.find(argv[1]) : ways.end();
  if (way == ways.end()) {
    std::fprintf(stderr, "usage: %s WAY [NUMBER]\n", argv[0]);
    return 2;
  }
  alarm(kHangsAfterSeconds);
  return way->second();
}
