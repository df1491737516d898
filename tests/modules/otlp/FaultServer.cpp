#include "tests/modules/otlp/FaultServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <stdexcept>
#include <utility>

namespace kiv_test {

namespace {

/// Reads more from a connection; false at its end.
bool readMore(int connection, std::string& buffer) {
  std::array<char, 16'384> chunk;
  const ssize_t length = recv(connection, chunk.data(), chunk.size(), 0);
  if (length <= 0) return false;
  buffer.append(chunk.data(), static_cast<size_t>(length));
  return true;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string gunzip(const std::string& packed) {
  z_stream stream{};
  if (inflateInit2(&stream, MAX_WBITS + 16) != Z_OK) return "?";
  std::string data(1 << 24, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = reinterpret_cast<Bytef*>(data.data());
  stream.avail_out = static_cast<uInt>(data.size());
  const int result = inflate(&stream, Z_FINISH);
  data.resize(stream.total_out);
  inflateEnd(&stream);
  return result == Z_STREAM_END ? data : "?";
}

HttpRequest parseHead(const std::string& head) {
  HttpRequest request;
  request.target = head.substr(0, head.find(" HTTP/"));
  for (size_t begin = head.find("\r\n") + 2; begin < head.size();) {
    const size_t end = std::min(head.find("\r\n", begin), head.size());
    const size_t colon = head.find(':', begin);
    const size_t value = head.find_first_not_of(' ', colon + 1);
    std::string& header = request.headers[lower(head.substr(begin, colon - begin))];
    if (!header.empty()) header += ", ";
    header += value < end ? head.substr(value, end - value) : "";
    begin = end + 2;
  }
  return request;
}

/// Reads the next request of a connection; more that was read stays in the buffer.
std::optional<HttpRequest> readRequest(int connection, std::string& buffer) {
  size_t end = std::string::npos;
  while ((end = buffer.find("\r\n\r\n")) == std::string::npos) {
    if (!readMore(connection, buffer)) return std::nullopt;
  }
  HttpRequest request = parseHead(buffer.substr(0, end));
  buffer.erase(0, end + 4);
  const size_t length = std::stoul(request.headers.at("content-length"));
  while (buffer.size() < length) {
    if (!readMore(connection, buffer)) return std::nullopt;
  }
  request.body = buffer.substr(0, length);
  buffer.erase(0, length);
  if (request.headers.count("content-encoding") != 0) request.body = gunzip(request.body);
  return request;
}

void sendAll(int connection, const std::string& bytes) {
  for (size_t sent = 0; sent < bytes.size();) {
    const ssize_t length = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (length <= 0) return;
    sent += static_cast<size_t>(length);
  }
}

}  // namespace

Reaction answer(int status, const std::string& body, const std::string& more_headers,
                const std::string& content_type) {
  return {"HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Type: " + content_type +
          "\r\n" + more_headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
          body};
}

FaultServer::FaultServer(std::deque<Reaction> script) : FaultServer(NotYet()) {
  script_ = std::move(script);
  listen();
}

FaultServer::FaultServer(NotYet) : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("no port");
  }
}

void FaultServer::listen() {
  if (::listen(listener_, SOMAXCONN) != 0) throw std::runtime_error("cannot listen");
  acceptor_ = std::thread([this] { accept(); });
}

FaultServer::~FaultServer() {
  {
    const std::lock_guard lock(mutex_);
    is_closing_ = true;
    for (const int connection : connections_) shutdown(connection, SHUT_RDWR);
  }
  shutdown(listener_, SHUT_RDWR);
  if (acceptor_.joinable()) acceptor_.join();
  for (std::thread& server : servers_) server.join();
  for (const int connection : connections_) close(connection);
  close(listener_);
}

std::string FaultServer::url() const {
  sockaddr_in address{};
  socklen_t size = sizeof(address);
  getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
  return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

std::vector<HttpRequest> FaultServer::waitForRequests(size_t count) {
  std::unique_lock lock(mutex_);
  arrived_.wait(lock, [&] { return requests_.size() >= count; });
  return requests_;
}

std::vector<HttpRequest> FaultServer::requests() { return waitForRequests(0); }

void FaultServer::accept() {
  for (;;) {
    const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    const std::lock_guard lock(mutex_);
    if (is_closing_ || connection < 0) {
      if (connection >= 0) close(connection);
      return;
    }
    connections_.push_back(connection);
    servers_.emplace_back([this, connection] { serve(connection); });
  }
}

void FaultServer::serve(int connection) {
  std::string buffer;
  while (auto request = readRequest(connection, buffer)) {
    const Reaction reaction = react(*std::move(request));
    sendAll(connection, reaction.bytes);
    switch (reaction.then) {
      case Reaction::Then::KEEP:
        break;
      case Reaction::Then::CLOSE:
        shutdown(connection, SHUT_RDWR);
        return;
      case Reaction::Then::HALF_CLOSE:
        shutdown(connection, SHUT_WR);
        break;
      case Reaction::Then::HANG:
        while (readMore(connection, buffer)) {
        }
        return;
    }
  }
}

Reaction FaultServer::react(HttpRequest request) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(std::move(request));
  arrived_.notify_all();
  if (script_.empty()) return answer(200);
  Reaction reaction = script_.front();
  script_.pop_front();
  return reaction;
}

}  // namespace kiv_test
