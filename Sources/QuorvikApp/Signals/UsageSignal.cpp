#include "QuorvikApp/Signals/UsageSignal.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Usage/AccountUsage.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

constexpr Timer::Seconds interval(300), longestPause(3600);
constexpr Timer::Seconds afterChange(2); ///< Codex writes its rollouts all the time
constexpr ChildProcess::Limits limits{Timer::Seconds(10), 65'536};
constexpr const char* secondsForAnswer = "8";

} // namespace

void UsageSignal::update() {
    if (settings().usage) {
        setAccounts();
        if (isOn()) return;
        try {
            QuorvikPaths::ensureDirectory(QuorvikPaths::usageDirectory()); // so that it can be watched
        } catch (const FileError&) {
        }
        return turnOn(interval);
    }
    records_ = {};
    watches_.clear();
    asking_.reset();
    turnOff("switched off");
}

void UsageSignal::setAccounts() {
    const Settings& wanted = settings();
    for (Account& account : accounts_) {
        const bool isClaude = account.agent == Source::claude;
        const std::string& host = isClaude ? wanted.claudeHost : wanted.grokHost;
        Words words;
        if (wanted.accounts && !host.empty() && (isClaude || !wanted.grokTokenFile.empty())) {
            words = {std::string(rawValue(account.agent)), host};
            if (!isClaude) words.push_back(wanted.grokTokenFile);
        }
        if (words.empty()) { // what it once said is not to be kept, whenever it was switched off
            std::error_code gone;
            std::filesystem::remove(AccountUsage::file(account.agent), gone);
        }
        if (words == account.words) continue;
        account = {account.agent, std::move(words), {}, 0, ""};
        lookSoon();
    }
}

void UsageSignal::look() {
    askAccounts();
}

/// Asks one account after the other, then reads the files.
void UsageSignal::askAccounts() {
    const auto due = std::ranges::find_if(
        accounts_, [&](const Account& account) { return !account.words.empty() && account.next <= now(); });
    if (due == accounts_.end()) return readFiles();
    const auto program = Platform::runningProgram().parent_path() / "quorvik-account";
    if (!Files::isExecutable(program)) {
        due->failure = "quorvik-account is not installed";
        due->next = now() + longestPause;
        return askAccounts();
    }
    Words words = {program.string(), "--seconds", secondsForAnswer};
    words.insert(words.end(), due->words.begin(), due->words.end());
    asking_ = std::make_unique<ChildProcess>(
        context_.loop, words, limits,
        [this, agent = due->agent, asked = due->words](const ChildProcess::Result& result) {
            const auto over = std::move(asking_); // the next one may start now
            const auto account = std::ranges::find(accounts_, agent, &Account::agent);
            if (account->words == asked) answered(*account, result);
            askAccounts();
        });
}

void UsageSignal::answered(Account& account, const ChildProcess::Result& result) {
    const nlohmann::json answer = parseJSON(result.output).value_or(nullptr);
    double pause = interval.count();
    account.failure = result.failure;
    if (answer.is_object()) {
        const auto failure = answer.find("failure");
        if (failure != answer.end() && failure->is_string()) account.failure = failure->get<std::string>();
        const auto wanted = answer.find("retryAfter");
        if (wanted != answer.end() && wanted->is_number()) pause = std::max(pause, wanted->get<double>());
    } else if (account.failure.empty()) {
        account.failure = "quorvik-account failed";
    }
    account.failures = account.failure.empty() ? 0 : account.failures + 1;
    constexpr int mostDoublings = 4;
    pause = std::max(pause, std::min(interval.count() * std::exp2(std::min(account.failures, mostDoublings)),
                                     longestPause.count()));
    constexpr double day = 86'400;
    account.next = now() + Seconds(std::min(pause, day));
}

void UsageSignal::readFiles() {
    struct Found {
        std::vector<UsageFigure> figures;
        std::vector<std::filesystem::path> folders;
    };
    runInBackground<Found>(
        [sources = sources_] {
            return Found{sources->read(), sources->folders()};
        },
        [this](const Found& read) {
            watchFolders(read.folders);
            found(read.figures);
        });
}

void UsageSignal::found(const std::vector<UsageFigure>& figures) {
    const auto& scheduler = settings().scheduler;
    bool isNew = records_.update(figures, now());
    isNew = records_.forget(now(), std::max(scheduler.changesLinger, scheduler.doneLinger)) || isNew;
    if (isNew) show(records_.records());
    std::string troubles;
    for (const Account& account : accounts_)
        if (!account.words.empty() && !account.failure.empty())
            troubles +=
                (troubles.empty() ? "" : "; ") + account.words.front() + "'s account: " + account.failure;
    endedWith(std::move(troubles));
    if (const auto next = records_.nextChange(now()))
        lookSoon(std::max(*next - now(), Seconds(1))); // a limit that was used up has reset
}

void UsageSignal::watchFolders(const std::vector<std::filesystem::path>& folders) {
    std::map<std::string, std::unique_ptr<FolderWatch>> watches;
    for (const auto& folder : folders) {
        auto& watch = watches[folder.string()];
        if (const auto known = watches_.find(folder.string()); known != watches_.end())
            watch = std::move(known->second);
        else
            watch = std::make_unique<FolderWatch>(context_.loop,
                                                  [this](const FolderHints&) { lookSoon(afterChange); });
        watch->watch(folder.string());
    }
    watches_ = std::move(watches);
}

} // namespace quorvik
