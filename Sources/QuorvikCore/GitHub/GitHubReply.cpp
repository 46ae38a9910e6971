#include "QuorvikCore/GitHub/GitHubReply.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

constexpr std::size_t largestBody = 2 << 20; ///< a page of 50 notifications has about 300 KB
constexpr std::size_t mostHeaders = 100;

/// gh ends some lines of the header with CR LF and others with LF.
std::string_view takeLine(std::string_view& rest) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

/// 304 of "HTTP/2.0 304 Not Modified"; 0 when the line is of another form.
int statusOf(std::string_view line) {
    const std::size_t blank = line.find(' ');
    if (!line.starts_with("HTTP/") || blank == line.npos) return 0;
    const std::string_view digits = line.substr(blank + 1, line.find(' ', blank + 1) - blank - 1);
    const int status = Number::integer<int>(digits).value_or(0);
    return digits.size() == 3 && status >= 100 ? status : 0;
}

} // namespace

GitHubReply GitHubReply::parse(std::string_view output) {
    GitHubReply reply;
    std::string_view body = output;
    reply.status = statusOf(takeLine(body));
    if (reply.status == 0) body = output;
    while (reply.status != 0 && !body.empty()) {
        const std::string_view line = takeLine(body);
        if (line.empty()) break;
        const std::size_t colon = line.find(':');
        if (colon == line.npos || reply.headers.size() == mostHeaders) continue;
        std::string name(line.substr(0, colon));
        std::ranges::transform(name, name.begin(), [](char byte) {
            return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
        });
        reply.headers.emplace(std::move(name),
                              Unicode::trimmed(line.substr(colon + 1), Unicode::isWhitespace));
    }
    if (body.size() <= largestBody) reply.body = parseJSON(body);
    return reply;
}

std::optional<std::int64_t> GitHubReply::number(const char* header) const {
    const auto found = headers.find(header);
    if (found == headers.end()) return std::nullopt;
    const auto value = Number::integer<std::int64_t>(found->second);
    return value && *value >= 0 ? value : std::nullopt;
}

const nlohmann::json* GitHubReply::list() const {
    return status == 200 && body && body->is_array() ? &*body : nullptr;
}

} // namespace quorvik
