#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// What a run of the program `gh` printed: the answer of GitHub's API with its header (`gh api --include`),
/// or JSON alone (`gh pr view --json`). gh prints the header of refusals as well, and of "304 Not Modified".
struct GitHubReply {
    int status = 0;                             ///< of HTTP; 0 when there is no header
    std::map<std::string, std::string> headers; ///< by name, in lower case
    std::optional<nlohmann::json> body;         ///< absent when it is no JSON, or has more than 2 MB

    /// Takes any text.
    static GitHubReply parse(std::string_view output);

    /// The value of a header that is a whole number, and not negative; else absent.
    std::optional<std::int64_t> number(const char* header) const;

    /// The body as a list. Null unless the status is 200 and the body is one.
    const nlohmann::json* list() const;
};

} // namespace quorvik
