#include "QuorvikApp/Signals/Signal.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

constexpr Timer::Seconds longestPause(600); ///< between looks of a signal whose tool fails
constexpr Timer::Seconds remembered(3600);  ///< costs
constexpr Timer::Seconds longestRun(5);
constexpr std::size_t mostOutput = 16 << 20; ///< bytes

} // namespace

Signal::Signal(const SignalContext& context, std::string name)
    : context_(context), name_(std::move(name)), timer_(context.loop, [this] { begin(); }) {}

Signal::~Signal() = default;

void Signal::turnOn(std::optional<Seconds> interval) {
    const bool wasOn = std::exchange(isOn_, true);
    const bool isShorter = interval && (!interval_ || *interval < *interval_);
    interval_ = interval;
    if (!wasOn) {
        why_.clear();
        failures_ = 0;
        lookSoon();
    } else if (isShorter && failures_ == 0) {
        lookSoon(*interval);
    }
}

void Signal::turnOff(std::string why) {
    why_ = std::move(why);
    if (!std::exchange(isOn_, false)) return;
    timer_.stop();
    nextLook_.reset();
    program_.reset();
    background_.reset();
    isLooking_ = isLate_ = false;
    show({});
}

void Signal::lookSoon(Seconds after) {
    if (!isOn_) return;
    if (isLooking_) {
        isLate_ = true;
        return;
    }
    if (timer_.isRunning() && nextLook_ && *nextLook_ <= now() + after && *nextLook_ > now()) return;
    nextLook_ = now() + after;
    timer_.start(after);
}

void Signal::begin() {
    isLooking_ = true;
    isLate_ = false;
    nextLook_.reset();
    lastLook_ = now();
    look();
}

void Signal::ended(std::string trouble) {
    if (!std::exchange(isLooking_, false)) return;
    const Date end = std::chrono::system_clock::now();
    spent(std::max(end - lastLook_.value_or(end), Seconds::zero()));
    lastLook_ = end;
    failures_ = trouble.empty() ? 0 : failures_ + 1;
    why_ = std::move(trouble);

    constexpr int mostDoublings = 10;
    if (isLate_ && failures_ == 0) {
        lookSoon();
    } else if (interval_) {
        const Seconds pause = *interval_ * std::exp2(std::min(failures_, mostDoublings));
        lookSoon(failures_ == 0 ? *interval_ : std::min(pause, std::max(longestPause, *interval_)));
    }
}

void Signal::spent(Seconds time) {
    costs_.push_back({now(), time});
    while (!costs_.empty() && (costs_.front().when + remembered <= now() || costs_.front().when > now()))
        costs_.pop_front();
}

void Signal::run(const Words& words, std::function<void(std::string)> done, int highest) {
    program_ = std::make_unique<ChildProcess>(
        context_.loop, words, ChildProcess::Limits{longestRun, mostOutput},
        [this, done = std::move(done), program = words.front(), highest](ChildProcess::Result result) {
            const auto over = std::move(program_); // the next one may start now
            if (result.exitStatus && *result.exitStatus <= highest) return done(std::move(result.output));
            ended(result.exitStatus ? program + " ended with status " + std::to_string(*result.exitStatus)
                                    : result.failure);
        });
}

void Signal::tryRun(const Words& words, std::size_t mostBytes,
                    std::function<void(std::optional<std::string>)> done) {
    program_ = std::make_unique<ChildProcess>(
        context_.loop, words, ChildProcess::Limits{longestRun, mostBytes},
        [this, done = std::move(done)](ChildProcess::Result result) {
            const auto over = std::move(program_); // the next one may start now
            done(result.isSuccess() ? std::optional(std::move(result.output)) : std::nullopt);
        });
}

void Signal::show(Records records) {
    const bool hadShown = std::exchange(hasShown_, !records.empty());
    if (!hadShown && !hasShown_) return;
    context_.model.setSignal(name_, std::move(records), now());
    context_.changed();
}

SignalStatus Signal::status() const {
    SignalStatus status{name_, isOn_, why_, lastLook_, nextLook_, 0, 0};
    for (const Cost& cost : costs_) {
        if (cost.when + remembered <= now()) continue;
        ++status.looks;
        status.seconds += cost.time.count();
    }
    return status;
}

} // namespace quorvik
