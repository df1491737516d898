/// What a collector's answer means for the events that were sent.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TAMSA::otlp {

/// How an exchange over HTTP ended.
struct Exchange {
  enum class End {
    COMPLETE,    ///< With an answer.
    BROKEN,      ///< Somewhere on the way; another try may do better.
    IMPOSSIBLE,  ///< So that another try will not do better.
  };

  End end = End::BROKEN;
  long status = 0;  ///< 0 if there was none; a broken exchange may have one.
  std::optional<std::chrono::seconds> retry_after;
  std::string body;
  std::string problem;  ///< Of an exchange that is not complete.
};

struct Reply {
  enum class Verdict { DELIVERED, TRY_AGAIN, REFUSED };

  Verdict verdict = Verdict::TRY_AGAIN;
  std::optional<std::chrono::seconds> retry_after;
  uint64_t rejected = 0;  ///< Of what was delivered.
  std::string reason;     ///< In one short line, fit for a log; empty if all is well.
};

/// The words of `secrets` are kept out of the reason.
Reply judge(const Exchange& exchange, const std::vector<std::string>& secrets);

}  // namespace TAMSA::otlp
