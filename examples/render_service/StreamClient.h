/// The service's client: has files rendered.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ProgressBar.h"
#include "RenderService.h"
#include "Reporter.h"

namespace render_service {

/// Takes files through a service, and tells the user about those that fail. For one thread.
class StreamClient {
 public:
  /// `service` is open. Both outlive the client.
  StreamClient(RenderService& service, ProgressBar& progress,
               const android::kiv::KivSessionId& session);

  /// Has all files rendered and returns how many could not be, or not completely. Called once.
  size_t play(const std::vector<std::string>& files);

  /// Makes the last report, and returns how many there were.
  long long finishReports() { return reporter_.finish(); }

 private:
  using StreamPtr = RenderService::StreamPtr;
  using Patience = RenderService::Patience;

  StreamPtr open(const std::string& file, size_t index, size_t count);
  void start(StreamPtr stream);
  bool closeFinished(Patience patience);
  void close(StreamPtr stream);
  void fail(const std::string& name, const std::string& reason);
  void showProgress();

  RenderService& service_;
  ProgressBar& progress_;
  Reporter reporter_;
  size_t failed_ = 0;
};

}  // namespace render_service
