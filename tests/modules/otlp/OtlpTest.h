/// What tests of the whole module share: a program that reports, and what of it arrived.
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

#include "FaultServer.h"
#include "RunProgram.h"

namespace kiv_test {

class OtlpTest : public testing::Test {
 protected:
  using Environment = std::map<std::string, std::string>;

  OtlpTest() {
    for (const char* proxy : {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY"}) {
      unsetenv(proxy);
    }
  }

  /// Has the reporter report so many events, and waits for its end, which must be a good one.
  ProgramResult report(const std::string& url, int count, const std::string& way = "exit",
                       Environment more = {}) {
    more.emplace("OTEL_EXPORTER_OTLP_ENDPOINT", url);
    more.emplace("REPORTER_PIPE", pipe_);
    ProgramResult result = runProgram({OTLP_REPORTER, way, std::to_string(count)}, more);
    EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
    return result;
  }

  /// Does the same while the test goes on.
  std::future<ProgramResult> reportMeanwhile(const std::string& url, int count,
                                             const std::string& way = "stay",
                                             Environment more = {}) {
    mkfifo(pipe_.c_str(), 0600);
    return std::async(std::launch::async, [=] { return report(url, count, way, more); });
  }

  /// Lets a reporter go on that stays.
  void letGoOn() const { std::ofstream(pipe_).put('\n'); }

  static std::vector<nlohmann::json> records(const HttpRequest& request) {
    std::vector<nlohmann::json> all;
    const auto body = nlohmann::json::parse(request.body);
    for (const auto& resource : body["resourceLogs"]) {
      for (const auto& scope : resource["scopeLogs"]) {
        for (const auto& record : scope["logRecords"]) all.push_back(record);
      }
    }
    return all;
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

  /// The last count in the log of what was dropped; 0 if it says nothing.
  static int dropped(const ProgramResult& result) {
    const size_t end = result.err.rfind(" in all: ");
    if (end == std::string::npos) return 0;
    return std::stoi(result.err.substr(result.err.rfind(' ', end - 1) + 1));
  }

  const TemporaryDirectory directory_;
  const std::string pipe_ = directory_.file("go-on");
};

}  // namespace kiv_test
