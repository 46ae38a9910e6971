#include "quorvik_account/Transfer.h"
#include "quorvik_island/Arguments.h"
#include "quorvik_island/CommandLine/HelpText.h"

#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <span>
#include <string>
#include <vector>

namespace quorvik {

namespace {

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

int run(std::span<const std::string> commandLine) {
    const ProgramRow& program = *CommandTable::program("quorvik-account");
    const Arguments arguments = Arguments::parse(program.self, commandLine);
    if (const auto status = HelpText::printIfAsked(program, arguments)) return *status;
    std::chrono::seconds time(4);
    if (const std::string* given = arguments.value("--seconds")) {
        const auto seconds = Number::integer<int>(*given);
        if (!seconds || *seconds < 1 || *seconds > 60) throw UsageError("--seconds must be 1 to 60");
        time = std::chrono::seconds(*seconds);
    }
    const auto& words = arguments.words;
    const auto agent = fromRawValue<Source>(words.empty() ? "" : words[0]);
    const std::size_t wanted = agent == Source::claude ? 2 : 3;
    if (!agent || words.size() != wanted)
        throw UsageError("say claude and the host, or grok, the host and the file with the token");
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
    } catch (const quorvik::UsageError& error) {
        return quorvik::failUsage(std::string(error.what()) + " (see quorvik-account --help)");
    } catch (const std::exception& error) {
        return quorvik::report(error.what());
    }
}
