/// A receiver that fails on demand.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kiv_test {

struct HttpRequest {
  std::string target;  ///< "POST /v1/logs"
  std::map<std::string, std::string>
      headers;       ///< By names in lower case; repeated ones are joined.
  std::string body;  ///< Not compressed.
};

/// The server's reaction to a request.
struct Reaction {
  enum class Then {
    KEEP,        ///< The connection waits for the next request.
    CLOSE,       ///< It is closed.
    HALF_CLOSE,  ///< It is closed for writing only.
    HANG,        ///< It stays open, and nothing is sent.
  };

  std::string bytes;  ///< The answer.
  Then then = Then::KEEP;
};

/// A complete answer.
Reaction answer(int status, const std::string& body = "{}", const std::string& more_headers = "",
                const std::string& content_type = "application/json");

/// Listens on a free port of this machine. Requests get the scripted reactions in the order of
/// their arrival, and after these a success each.
class FaultServer {
 public:
  explicit FaultServer(std::deque<Reaction> script = {});
  ~FaultServer();

  FaultServer(const FaultServer&) = delete;
  FaultServer& operator=(const FaultServer&) = delete;

  /// Reserves a port; connections are refused until `listen`.
  struct NotYet {};
  explicit FaultServer(NotYet);
  void listen();

  /// "http://127.0.0.1:PORT"
  std::string url() const;

  /// Blocks until `count` requests have arrived.
  std::vector<HttpRequest> waitForRequests(size_t count);
  std::vector<HttpRequest> requests();

 private:
  void accept();
  void serve(int connection);
  Reaction react(HttpRequest request);

  int listener_ = -1;
  std::thread acceptor_;

  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Reaction> script_;
  std::vector<HttpRequest> requests_;
  std::vector<int> connections_;
  std::vector<std::thread> servers_;
  bool is_closing_ = false;
};

}  // namespace kiv_test
