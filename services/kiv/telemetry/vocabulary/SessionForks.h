/// Session identifiers in forked processes.
#pragma once

namespace android::kiv::internal {

/// Has a fork wait until no thread generates an identifier, so that the child does not inherit a
/// locked generator. To be called once, when the library is loaded: a registration on first use
/// would need a lock of its own.
void generateSessionsAcrossForks();

}  // namespace android::kiv::internal
