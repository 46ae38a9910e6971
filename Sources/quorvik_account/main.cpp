#include "quorvik_account/Transfer.h"

#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

namespace quorvik {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-account [--seconds <n>] claude <host>
       quorvik-account [--seconds <n>] grok <host> <file with the token>

Asks the service of an agent's account how much of its limits is used, and keeps the answer for
`quorvik-island usage`. Claude's login is that of Claude Code. It is sent to the host that you name, over
https, and nowhere else. Prints one JSON object: "failure", why there are no new figures, and "retryAfter", the
seconds for which the service wants to be left alone, each when there is one.

  --seconds <n>  how long all of it may take: 1 to 60, by default 4

Exit status: 0 done, 1 something failed, 3 usage error (one line on standard error says what).
)";

enum ExitStatus : int { exitSuccess = 0, exitFailure = 1, exitUsage = 3 };

int failUsage(std::string_view message) {
    std::cerr << "quorvik-account: " << Unicode::terminalLine(message) << '\n';
    return exitUsage;
}

int report(const std::string& failure, std::int64_t retryAfter = 0) {
    nlohmann::json result = nlohmann::json::object();
    if (!failure.empty()) result["failure"] = failure;
    if (retryAfter > 0) result["retryAfter"] = retryAfter;
    std::cout << printJSON(result) << std::endl;
    return failure.empty() && std::cout ? exitSuccess : exitFailure;
}

std::optional<std::string> tokenOf(Source agent, const std::vector<std::string>& words) {
    const Date now = std::chrono::system_clock::now();
    if (agent == Source::claude) {
        const auto credentials = AccountUsage::claudeCredentials();
        return credentials ? AccountUsage::claudeToken(*credentials, now) : std::nullopt;
    }
    constexpr std::size_t most = 1 << 16; // bytes
    const auto text = Files::read(words[2], most);
    if (!text) return std::nullopt;
    return std::string(Unicode::trimmed(*text, Unicode::isWhitespaceOrNewline));
}

int ask(Source agent, const std::vector<std::string>& words, std::chrono::seconds time) {
    if (!AccountUsage::address(words[1])) return failUsage("not a host: " + words[1]);
    const auto token = tokenOf(agent, words);
    if (!token) return report("there is no login, or it has expired");
    const auto request = AccountUsage::request(agent, words[1], *token);
    if (!request) return report("the login cannot be used");
    const Transfer::Answer answer = Transfer::get(*request, time);
    if (!answer.failure.empty()) return report(answer.failure);
    if (answer.status != 200)
        return report("the service answered " + std::to_string(answer.status), answer.retryAfter);
    const auto windows = AccountUsage::parse(agent, answer.body);
    if (windows.empty()) return report("the answer tells of no limits", answer.retryAfter);
    AccountUsage::keep(agent, windows, std::chrono::system_clock::now());
    return report("", answer.retryAfter);
}

int run(std::vector<std::string> words) {
    if (words == std::vector<std::string>{"--version"}) return BuildInfo::print("quorvik-account");
    if (words == std::vector<std::string>{"--help"}) {
        std::cout << help;
        return exitSuccess;
    }
    std::chrono::seconds time(4);
    if (words.size() > 1 && words[0] == "--seconds") {
        const auto seconds = Number::integer<int>(words[1]);
        if (!seconds || *seconds < 1 || *seconds > 60) return failUsage("--seconds must be 1 to 60");
        time = std::chrono::seconds(*seconds);
        words.erase(words.begin(), words.begin() + 2);
    }
    const auto agent = fromRawValue<Source>(words.empty() ? "" : words[0]);
    const std::size_t wanted = agent == Source::claude ? 2 : 3;
    if (!agent || !AccountUsage::knows(*agent) || words.size() != wanted)
        return failUsage("say claude or grok, and the host (see quorvik-account --help)");
    return ask(*agent, words, time);
}

} // namespace

} // namespace quorvik

int main(int argc, char** argv) {
    quorvik::occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none); // a login is in our memory
    try {
        return quorvik::run(std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
    } catch (const std::exception& error) {
        return quorvik::report(error.what());
    }
}
