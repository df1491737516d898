/// The fixture for tests of the whole module: a program that reports, and what arrives of it.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <future>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "tests/modules/otlp/DecodeRequest.h"
#include "tests/modules/otlp/FaultServer.h"
#include "tests/support/RunProgram.h"

namespace kiv_test {

class OtlpTest : public testing::Test {
 protected:
  using Environment = std::map<std::string, std::string>;

  OtlpTest() {
    for (const char* proxy : {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY"}) {
      unsetenv(proxy);
    }
  }

  /// Makes the reporter report `count` events, and waits for its end, which must be a normal one.
  ProgramResult report(const std::string& url, int count, const std::string& way = "exit",
                       Environment more = {}) {
    more.emplace("OTEL_EXPORTER_OTLP_ENDPOINT", url);
    ProgramResult result = runProgram({OTLP_REPORTER, way, std::to_string(count)}, more);
    EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
    return result;
  }

  /// A reporter that runs while the test goes on.
  class Meanwhile {
   public:
    Meanwhile(std::string pipe, std::future<ProgramResult> result)
        : pipe_(std::move(pipe)), result_(std::move(result)) {}

    /// Lets a reporter continue that waits.
    ProgramResult finish() {
      std::ofstream(pipe_).put('\n');
      return result_.get();
    }

   private:
    std::string pipe_;
    std::future<ProgramResult> result_;
  };

  /// Like `report`, without waiting.
  Meanwhile reportMeanwhile(const std::string& url, int count, const std::string& way = "stay",
                            Environment more = {}) {
    const std::string pipe = directory_.file("pipe-" + std::to_string(++pipes_));
    mkfifo(pipe.c_str(), 0600);
    more.emplace("REPORTER_PIPE", pipe);
    return {pipe, std::async(std::launch::async, [=] { return report(url, count, way, more); })};
  }

  /// Makes the reporter report `count` events as one batch, and lets it end when `requests`
  /// requests have arrived.
  ProgramResult reportUntil(FaultServer& server, size_t requests, int count,
                            Environment more = {}) {
    more.emplace("OTEL_BLRP_MAX_EXPORT_BATCH_SIZE", std::to_string(count));
    more.emplace("OTEL_BLRP_SCHEDULE_DELAY", "3600000");
    auto reporter = reportMeanwhile(server.url(), count, "stay", more);
    server.waitForRequests(requests);
    return reporter.finish();
  }

  /// Blocks until `count` events have arrived.
  static std::vector<HttpRequest> waitForEvents(FaultServer& server, size_t count) {
    std::vector<HttpRequest> requests;
    for (size_t events = 0, seen = 0; events < count; ++seen) {
      requests = server.waitForRequests(seen + 1);
      events += records(requests[seen]).size();
    }
    return requests;
  }

  static nlohmann::json body(const HttpRequest& request) {
    return decodeRequest(request.headers.at("content-type"), request.body);
  }

  /// The records of events, or of losses.
  static std::vector<nlohmann::json> records(const HttpRequest& request, bool of_losses = false) {
    std::vector<nlohmann::json> all;
    const auto decoded = body(request);
    for (const auto& resource : decoded["resourceLogs"]) {
      for (const auto& scope : resource["scopeLogs"]) {
        for (const auto& record : scope["logRecords"]) {
          if ((record["eventName"] == "kiv.telemetry.loss") == of_losses) all.push_back(record);
        }
      }
    }
    return all;
  }

  /// The events that requests report as lost, by cause.
  static std::map<std::string, int> reportedLosses(const std::vector<HttpRequest>& requests) {
    std::map<std::string, int> losses;
    for (const HttpRequest& request : requests) {
      for (const auto& record : records(request, true)) {
        losses[attribute(record, "kiv.telemetry.loss.cause")["stringValue"]] += std::stoi(
            attribute(record, "kiv.telemetry.loss.events")["intValue"].get<std::string>());
      }
    }
    return losses;
  }

  static nlohmann::json attribute(const nlohmann::json& object, const std::string& key) {
    for (const auto& attribute : object["attributes"]) {
      if (attribute["key"] == key) return attribute["value"];
    }
    return nullptr;
  }

  static std::multiset<int> numbers(const std::vector<HttpRequest>& requests) {
    std::multiset<int> all;
    for (const HttpRequest& request : requests) {
      for (const auto& record : records(request)) {
        all.insert(std::stoi(attribute(record, "number")["intValue"].get<std::string>()));
      }
    }
    return all;
  }

  static std::multiset<int> numbersBelow(int count) {
    std::multiset<int> all;
    for (int number = 0; number < count; ++number) all.insert(number);
    return all;
  }

  /// The last count of lost events in the log; 0 if there is none.
  static int lost(const ProgramResult& result) {
    const size_t end = result.err.rfind(" in all: ");
    if (end == std::string::npos) return 0;
    return std::stoi(result.err.substr(result.err.rfind(' ', end - 1) + 1));
  }

  const TemporaryDirectory directory_;
  int pipes_ = 0;
};

}  // namespace kiv_test
