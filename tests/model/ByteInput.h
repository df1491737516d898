/// Turns a byte string into decisions, so that its source (a random generator, a fuzzer, a file)
/// controls a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace kiv_test::model {

/// Reads from the front. At the end of the bytes, every decision is the first choice.
class ByteInput {
 public:
  ByteInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool empty() const { return used_ == size_; }

  uint8_t byte() { return empty() ? uint8_t{0} : data_[used_++]; }

  /// A number from 0 to `count` - 1; `count` is at most 256.
  size_t below(size_t count) { return byte() % count; }

  bool flag() { return below(2) == 1; }

  /// Any value of a plain type.
  template <typename T>
  T any() {
    uint8_t bytes[sizeof(T)];
    for (uint8_t& one : bytes) one = byte();
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }

  /// One of an array's elements.
  template <typename T, size_t N>
  const T& oneOf(const T (&choices)[N]) {
    return choices[below(N)];
  }

  std::string bytes(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text.push_back(static_cast<char>(byte()));
    return text;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t used_ = 0;
};

}  // namespace kiv_test::model
