// Reports numbered events to the module in the way that its first argument names, and prints how
// many were taken.
#include <android/log.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <thread>

#include "tests/modules/LoadedModule.h"

namespace {

int count = 0;
int late_count = 0;
bool is_one_window = false;
// Outlives static destructors, unlike a string.
const char* way_name = "";

/// The handler is never destroyed, as may happen in the library.
kiv_test::ITelemetryHandler& handler() {
  static kiv_test::ITelemetryHandler* const made =
      kiv_test::LoadedModule(OTLP_MODULE).createHandler().release();
  return *made;
}

bool report(int64_t number) {
  static const kiv_test::LoadedModule module(OTLP_MODULE);
  const auto event = module.createEvent(handler(), "probe");
  constexpr int64_t kSomeTime = 1'700'000'000'000;
  constexpr int64_t kSeverities = 4;
  event->setInt64Field("start_time_since_epoch", kSomeTime - 5'000);
  event->setInt64Field("end_time_since_epoch", kSomeTime + (is_one_window ? 0 : number));
  event->setInt64Field("severity", number % kSeverities);
  event->setInt64Field("number", number);
  event->setInt64Field("reporter", getpid());
  event->setFloatField("half", static_cast<float>(number) / 2);
  event->setStringField("text", "caf\xC3\xA9, \"quoted\"");
  return handler().reportEvent(event.get(), 1);
}

/// Reports the events with the numbers from `first` to before `end`.
void report(int first, int end) {
  int taken = 0;
  for (int number = first; number < end; ++number) taken += report(number) ? 1 : 0;
  std::printf("taken %d, refused %d\n", taken, end - first - taken);
  std::fflush(stdout);
}

void reportAll() { report(0, count); }

void reportMore() { report(count, count + late_count); }

/// Waits until the named pipe was opened for writing and closed.
void waitForPipe() {
  const int pipe = open(std::getenv("REPORTER_PIPE"), O_RDONLY | O_CLOEXEC);
  char byte = 0;
  while (read(pipe, &byte, 1) > 0) {
  }
  close(pipe);
}

/// Opens a named pipe, for which the test waits, when events cannot be delivered.
void signalTrouble(const __android_logger_data* data, const char* message) {
  __android_log_stderr_logger(data, message);
  const char* const pipe = std::getenv("REPORTER_TROUBLE");
  if (pipe == nullptr || std::strstr(message, "cannot deliver") == nullptr) return;
  close(open(pipe, O_WRONLY | O_CLOEXEC));
}

/// Makes OpenSSL shut itself down in an exit handler that is older than the module.
void useOpenSslFirst() {
  void* const library = dlopen("libcrypto.so.3", RTLD_NOW);
  void* const function = library != nullptr ? dlsym(library, "OPENSSL_init_crypto") : nullptr;
  if (function == nullptr) std::abort();
  constexpr uint64_t kLoadErrorTexts = 2;
  reinterpret_cast<int (*)(uint64_t, const void*)>(function)(kLoadErrorTexts, nullptr);
}

void reportAndExit() { reportAll(); }

void reportAndStay() {
  reportAll();
  waitForPipe();
}

/// Reports the rest when the first part has been sent.
void reportTwice() {
  reportAndStay();
  reportMore();
}

void reportAndEndAbruptly() {
  reportAndStay();
  _exit(0);
}

/// Which signals the module's thread blocks.
uint64_t blockedSignals() {
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream status(task.path() / "status");
    const std::string text((std::istreambuf_iterator<char>(status)), {});
    if (text.find("Name:\totlp-export\n") == std::string::npos) continue;
    return std::stoull(text.substr(text.find("SigBlk:") + 8), nullptr, 16);
  }
  return 0;
}

void reportAndShowSignals() {
  reportAll();
  uint64_t blocked = blockedSignals();
  // The C library blocks every signal while a thread starts another one, here to resolve a name.
  constexpr int kAttempts = 1000;
  for (int i = 0; i < kAttempts && (blocked & (1ULL << (SIGSEGV - 1))) != 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    blocked = blockedSignals();
  }
  std::printf("blocked: %llx\n", static_cast<unsigned long long>(blocked));
}

void createOnly() { handler(); }

void reportAndFork() {
  reportAll();
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) std::abort();
}

void reportAndForkToReport() {
  reportAll();
  const pid_t child = fork();
  if (child == 0) {
    reportMore();
    std::exit(0);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) std::abort();
}

/// Exits while another thread goes on reporting.
void reportWhileExiting() {
  reportAll();
  static std::atomic<bool> flows{false};
  std::thread([] {
    for (int number = count;; ++number) {
      report(number);
      flows = true;
    }
  }).detach();
  while (!flows) std::this_thread::yield();
}

std::thread rest;

/// Exits while another thread reports the rest, for which an exit handler waits that is older than
/// the module.
void reportRestWhileExiting() {
  is_one_window = true;
  reportAll();
  static std::atomic<bool> flows{false};
  rest = std::thread([] {
    for (int number = count; number < count + late_count; ++number) {
      report(number);
      flows = true;
    }
  });
  while (!flows) std::this_thread::yield();
}

void reportInHandler(const char* way) {
  if (std::strcmp(way_name, way) == 0) reportMore();
}

void reportLateAfterOpenSsl() {
  useOpenSslFirst();
  reportAll();
}

/// Like the library, whose exit handler was registered before the module was loaded.
void reportLate() { reportAll(); }

void reportOneWindow() {
  is_one_window = true;
  reportAndStay();
}

void prepareOneWindow() {
  is_one_window = true;
  handler();
}

/// Removes its own program, as an update does while the program runs.
void unlinkAndReport() {
  std::filesystem::remove(std::filesystem::read_symlink("/proc/self/exe"));
  reportAll();
}

// Called before any library is initialized, so its handler runs after all are finalized.
using Initializer = void (*)(int, char**, char**);
[[gnu::section(".preinit_array"), gnu::used]] const Initializer register_first = [](int, char**,
                                                                                    char**) {
  on_exit([](int, void*) { reportInHandler("after-everything"); }, nullptr);
};

// Called when the loader finalizes the program. The module may be loaded only then.
[[gnu::destructor]] void reportInFinalizer() { reportInHandler("load-in-finalizer"); }

}  // namespace

int main(int argc, char** argv) try {
  const std::map<std::string, void (*)()> ways = {
      {"exit", reportAndExit},
      {"stay", reportAndStay},
      {"twice", reportTwice},
      {"abrupt", reportAndEndAbruptly},
      {"signals", reportAndShowSignals},
      {"create", createOnly},
      {"late", reportLate},
      {"late-after-openssl", reportLateAfterOpenSsl},
      {"late-only", createOnly},
      {"load-late", [] {}},
      {"load-in-finalizer", [] {}},
      {"window", reportOneWindow},
      {"late-window", prepareOneWindow},
      {"load-late-window", [] { is_one_window = true; }},
      {"unlink", unlinkAndReport},
      {"after-everything", reportLate},
      {"stay-late", reportAndStay},
      {"fork", reportAndFork},
      {"fork-to-report", reportAndForkToReport},
      {"flow", reportWhileExiting},
      {"rest", reportRestWhileExiting},
  };
  const auto way = argc == 3 || argc == 4 ? ways.find(argv[1]) : ways.end();
  if (way == ways.end()) {
    std::fprintf(stderr, "usage: %s WAY COUNT [LATE_COUNT]\n", argv[0]);
    return 2;
  }
  way_name = argv[1];
  count = std::atoi(argv[2]);
  late_count = argc == 4 ? std::atoi(argv[3]) : count;
  __android_log_set_logger(signalTrouble);
  std::atexit([] {
    for (const char* late : {"late", "late-after-openssl", "late-only", "load-late", "stay-late",
                             "late-window", "load-late-window"})
      reportInHandler(late);
    if (rest.joinable()) rest.join();
  });
  way->second();
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
