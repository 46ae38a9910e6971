#pragma once

#include "QuorvikApp/Loop/BackgroundWork.h"
#include "QuorvikApp/Loop/ChildProcess.h"
#include "QuorvikApp/Loop/EventLoop.h"
#include "QuorvikApp/Model/IslandModel.h"
#include "QuorvikApp/Model/SignalStatus.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvik {

/// What the app lends to every signal.
struct SignalContext {
    EventLoop& loop;
    IslandModel& model;
    EventLoop::Handler changed;         ///< to be called after the model has been given something new
    std::function<bool()> hasFrontEnds; ///< whether somebody looks at the island
};

/// One of the developer's tools that the app looks at by itself, and whose items it gives to the model.
///
/// A signal never looks twice at once. While its tool fails it looks less and less often, up to every ten
/// minutes. Why it fails stands in its status, and nowhere else: a tool that is installed and not running is
/// nobody's trouble.
class Signal {
  public:
    virtual ~Signal();
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    /// To be called when settings, sessions or front ends have changed.
    virtual void update() = 0;

    SignalStatus status() const;

  protected:
    using Seconds = Timer::Seconds;
    using Words = std::vector<std::string>;
    using Records = std::vector<std::shared_ptr<const SessionRecord>>;

    Signal(const SignalContext& context, std::string name);

    /// One look: it ends with a call of ended().
    virtual void look() = 0;

    /// On: looks now if it was off, and again so long after the end of each look. Without an interval, only
    /// lookSoon() makes it look.
    void turnOn(std::optional<Seconds> interval);

    /// Off: no further look. What it showed goes, and so does what runs.
    void turnOff(std::string why);

    /// Looks after so long, if that is earlier than the next look; after the one that is under way.
    void lookSoon(Seconds after = Seconds::zero());

    /// The look is over. `trouble` is why it gave nothing; empty when it did.
    void ended(std::string trouble = "");

    /// Adds to what the signal has cost.
    void spent(Seconds time);

    /// Runs a program of this look. `done` gets its output; when it fails, which a status above `highest`
    /// says, there is no call, and the look ends with that trouble.
    void run(const Words& words, std::function<void(std::string)> done, int highest = 0);

    /// Runs a program of this look, whose failure is no trouble of the signal's: `done` gets its output, or
    /// nothing when it failed or printed more than `mostBytes`.
    void tryRun(const Words& words, std::size_t mostBytes,
                std::function<void(std::optional<std::string>)> done);

    /// Runs `work` on another thread as a part of this look.
    template <typename Result>
    void runInBackground(std::function<Result()> work, std::function<void(Result)> done) {
        background_ = BackgroundWork::start<Result>(context_.loop, std::move(work), std::move(done));
    }

    /// Gives the model these items in place of the earlier ones.
    void show(Records records);

    bool isOn() const { return isOn_; }
    Date now() const { return context_.loop.now(); }
    const Settings& settings() const { return context_.model.settings(); }

    const SignalContext context_;

  private:
    void begin();

    struct Cost {
        Date when{};
        Seconds time{};
    };

    const std::string name_;
    Timer timer_;
    std::optional<Seconds> interval_;
    std::optional<Date> lastLook_, nextLook_;
    std::deque<Cost> costs_; ///< of the last hour
    std::string why_;        ///< why it is off, or of no use
    int failures_ = 0;       ///< in a row
    bool isOn_ = false, isLooking_ = false, isLate_ = false, hasShown_ = false;
    std::unique_ptr<ChildProcess> program_;
    std::unique_ptr<BackgroundWork> background_;
};

} // namespace quorvik
