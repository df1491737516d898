/// The meaning of a collector's answer for the events that were sent.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TAMSA::otlp {

/// The result of an exchange over HTTP.
struct Exchange {
  enum class End {
    COMPLETE,   ///< With an answer.
    RETRYABLE,  ///< Failed on the way; another attempt may succeed.
    PERMANENT,  ///< Failed in a way that other attempts repeat.
  };

  End end = End::RETRYABLE;
  long status = 0;  ///< 0 if there was none; a failed exchange may have one.
  std::optional<std::chrono::seconds> retry_after;
  std::string content_type;
  std::string body;
  std::string problem;  ///< The error of an exchange that is not complete.
};

struct Reply {
  enum class Verdict {
    DELIVERED,
    RETRYABLE,
    TOO_LARGE,  ///< Smaller requests may succeed.
    REFUSED,
  };

  Verdict verdict = Verdict::RETRYABLE;
  std::optional<std::chrono::seconds> retry_after;
  bool is_answer = false;  ///< From a collector; otherwise, the exchange failed before.
  uint64_t rejected = 0;   ///< Number of delivered records that were rejected.
  /// The problem, as one of a few texts; empty if there is none.
  std::string cause;
  /// The collector's message in one short line; may be empty.
  std::string detail;

  /// Cause and detail as one text.
  std::string reason() const;
};

/// The words of `secrets` are masked in the detail.
Reply judge(const Exchange& exchange, const std::vector<std::string>& secrets);

}  // namespace TAMSA::otlp
