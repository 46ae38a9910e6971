#include "QuorvikCore/Usage/AccountUsage.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/Keychain.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"

#include <algorithm>
#include <cmath>

namespace quorvik::AccountUsage {

namespace {

bool isLetterOrDigit(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9');
}

/// "name", "name:port"; `name` gets the part before the port.
bool isHost(std::string_view text, std::string_view& name) {
    constexpr std::size_t longest = 253;
    const auto colon = text.find(':');
    name = text.substr(0, colon);
    if (colon != text.npos) {
        const std::string_view digits = text.substr(colon + 1);
        const auto port = Number::integer<std::int32_t>(digits);
        if (!port || *port < 1 || *port > 65535 || !isLetterOrDigit(digits[0])) return false;
    }
    return !name.empty() && name.size() <= longest && isLetterOrDigit(name.front()) &&
           std::ranges::all_of(name, [](char character) {
               return isLetterOrDigit(character) || character == '-' || character == '.';
           });
}

double number(const RawJSON::Object& object, std::string_view name) {
    const std::string_view* const value = object[name];
    return value ? RecordAccess::number(*value).value_or(-1) : -1;
}

/// Seconds since 1970; below zero when it is no time.
double moment(const RawJSON::Object& object, std::string_view name) {
    const std::string_view* const value = object[name];
    const auto text = value ? RawJSON::string(*value) : std::nullopt;
    if (!text) return number(object, name);
    const auto time = ISO8601::parseWithoutFraction(*text);
    return time ? secondsSince1970(*time) : -1;
}

} // namespace

bool knows(Source agent) {
    return agent == Source::claude || agent == Source::grok;
}

std::optional<std::string> address(std::string_view host) {
    constexpr std::string_view plain = "http://";
    std::string_view name;
    if (!host.starts_with(plain))
        return isHost(host, name) ? std::optional("https://" + std::string(host)) : std::nullopt;
    if (!isHost(host.substr(plain.size()), name) || (name != "127.0.0.1" && name != "localhost"))
        return std::nullopt;
    return std::string(host);
}

std::optional<Request> request(Source agent, std::string_view host, std::string_view token) {
    constexpr std::size_t longest = 8192;
    const auto base = address(host);
    const bool isSendable = !token.empty() && token.size() <= longest &&
                            std::ranges::all_of(token, [](char c) { return c > ' ' && c < '\x7F'; });
    if (!base || !isSendable || !knows(agent)) return std::nullopt;
    Request made;
    made.url = *base + (agent == Source::claude ? "/api/oauth/usage" : "/v1/billing?format=credits");
    made.headers = {"Authorization: Bearer " + std::string(token), "Accept: application/json"};
    if (agent == Source::claude) made.headers.emplace_back("anthropic-beta: oauth-2025-04-20");
    return made;
}

std::vector<UsageWindow> parse(Source agent, std::string_view answer) {
    const auto object = RawJSON::object(answer);
    if (!object) return {};
    std::vector<UsageWindow> windows;
    const auto add = [&](std::optional<UsageWindow> window) {
        if (window) windows.push_back(std::move(*window));
    };
    if (agent == Source::grok) {
        const double start = moment(*object, "billingPeriodStart"), end = moment(*object, "billingPeriodEnd");
        const double minutes = std::clamp((end - start) / 60, 0.0, 1e9);
        if (start >= 0)
            add(plausibleWindow("grok.billing", agent, std::llround(minutes),
                                number(*object, "creditUsagePercent"), end));
    }
    if (agent == Source::claude)
        for (const auto& [name, minutes] : ClaudeUsage::limits) {
            const std::string_view* const text = (*object)[name];
            const auto limit = text ? RawJSON::object(*text) : std::nullopt;
            if (limit)
                add(plausibleWindow("claude." + std::string(name), agent, minutes,
                                    number(*limit, "utilization"), moment(*limit, "resets_at")));
        }
    return windows;
}

std::optional<std::string> claudeToken(std::string_view credentials, Date now) {
    const auto members = RawJSON::object(credentials);
    const std::string_view* const login = members ? (*members)["claudeAiOauth"] : nullptr;
    const auto object = login ? RawJSON::object(*login) : std::nullopt;
    const std::string_view* const token = object ? (*object)["accessToken"] : nullptr;
    if (!token) return std::nullopt;
    const double expires = number(*object, "expiresAt") / 1000;
    if (expires > 0 && expires - 60 <= secondsSince1970(now)) return std::nullopt;
    return RawJSON::string(*token);
}

std::optional<std::string> claudeCredentials() {
    constexpr std::size_t most = 1 << 16; // bytes
    if (auto text = Files::read(QuorvikPaths::claudeCredentials(), most)) return text;
    return Platform::keychainPassword("Claude Code-credentials");
}

std::filesystem::path file(Source agent) {
    return QuorvikPaths::usageDirectory() / ("account-" + std::string(rawValue(agent)) + ".json");
}

void keep(Source agent, const std::vector<UsageWindow>& windows, Date now) {
    std::vector<UsageFigure> figures;
    for (const UsageWindow& window : windows)
        figures.push_back({window, now});
    UsageFigures::write(file(agent), figures);
}

} // namespace quorvik::AccountUsage
