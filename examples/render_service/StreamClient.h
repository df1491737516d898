/// The service's client, which plays files.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "ProgressBar.h"
#include "RenderService.h"
#include "Reporter.h"

namespace render_service {

/// Takes files through a service, and prints a message about each file that fails. All operations
/// are for one thread, except `stop()`.
class StreamClient {
 public:
  /// Both the service and the progress bar must outlive the client.
  StreamClient(RenderService& service, ProgressBar& progress);

  /// Renders all files, and returns the number of files that were not rendered to their end. The
  /// service must be open. Called once.
  size_t play(const std::vector<std::string>& files);

  /// Makes `play()` return soon: it starts no more files, and the service gives up those that it
  /// has started. Any thread.
  void stop();

  /// Makes the last report, and returns the number of reports.
  long long finishReports() { return reporter_.finish(); }

 private:
  using StreamPtr = RenderService::StreamPtr;
  using Patience = RenderService::Patience;

  StreamPtr open(const std::string& file, size_t index, size_t count);
  void start(StreamPtr stream);
  bool closeFinished(Patience timeout);
  void close(StreamPtr stream);
  void fail(const std::string& name, const std::string& reason);
  void showProgress();

  RenderService& service_;
  ProgressBar& progress_;
  Reporter reporter_;
  size_t failed_ = 0;
  std::atomic<bool> stopping_{false};
};

}  // namespace render_service
