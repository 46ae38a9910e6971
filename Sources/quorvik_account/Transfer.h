#pragma once

#include "QuorvikCore/Usage/AccountUsage.h"

#include <chrono>
#include <string>

/// Requests over the network.
namespace quorvik::Transfer {

struct Answer {
    std::string failure; ///< why there is none, one line; never holds a part of the request
    long status = 0;     ///< of HTTP
    std::string body;    ///< at most 256 KiB
    std::int64_t retryAfter =
        0; ///< seconds after which the service wants to be asked again; 0: it did not say
};

/// Makes the request and waits for the whole answer. Follows no redirection (the token is for that service
/// alone), checks certificates, and takes no longer than `time`.
Answer get(const AccountUsage::Request& request, std::chrono::milliseconds time);

} // namespace quorvik::Transfer
