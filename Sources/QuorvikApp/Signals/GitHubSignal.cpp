#include "QuorvikApp/Signals/GitHubSignal.h"

#include "QuorvikCore/Activity/GitConfig.h"
#include "QuorvikCore/Activity/GitRepository.h"
#include "QuorvikCore/GitHub/GitHubRepository.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"

namespace quorvik {

namespace {

constexpr std::size_t mostRoots = 20;
constexpr std::size_t largestConfig = 1 << 20; // bytes

} // namespace

void GitHubSignal::update() {
    if (!settings().github) return turnOff("switched off");
    if (!isOn()) feed_.restart(now());
    turnOn(Seconds(feed_.pause(now())));
}

void GitHubSignal::look() {
    if (!Platform::findProgram("gh")) return ended("there is no gh here");
    feed_.begin(repositories(), settings().scheduler, now());
    show(feed_.records());
    askOn();
}

GitHubFeed::Repositories GitHubSignal::repositories() {
    GitHubFeed::Repositories repositories;
    for (const std::string& root : roots_.of(context_.model.sessions(), mostRoots, now())) {
        const auto repository = GitRepository::at(root);
        if (!repository) continue;
        const auto config = Files::read(repository->commonFolder() / "config", largestConfig);
        const auto remote = GitConfig(config.value_or("")).value("remote", "origin", "url");
        if (const auto name = GitHubRepository::nameOf(remote.value_or("")))
            repositories.emplace(*name, root);
    }
    return repositories;
}

/// One question after the other. gh ends with status 1 after every answer that is no success, "304 Not
/// Modified" among them, and with 4 when nobody is logged in.
void GitHubSignal::askOn() {
    const auto words = feed_.next(now());
    if (!words) {
        turnOn(Seconds(feed_.pause(now())));
        return ended(feed_.trouble());
    }
    const auto parsed = [this](const GitHubReply& reply) {
        feed_.answered(reply, now());
        show(feed_.records());
        askOn();
    };
    run(
        *words,
        [this, parsed](std::string output) {
            runInBackground<GitHubReply>([output = std::move(output)] { return GitHubReply::parse(output); },
                                         parsed);
        },
        4);
}

} // namespace quorvik
