#include "quorvik_island/Terminal/CursesScreen.h"
#include "quorvik_island/Terminal/LiveIsland.h"
#include "quorvik_island/Terminal/TerminalSignals.h"

#include "QuorvikCore/Platform/DescriptorWait.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>

namespace quorvik {

namespace {

class ScreenIsland {
  public:
    explicit ScreenIsland(const IslandServices& services) : services_(services), frontEnd_(services) {}

    int run() {
        frontEnd_.connect(ControlClient::Start::ifMissing);
        constexpr ControlClient::Seconds usual(0.2); // most often the first picture has something to show
        frontEnd_.app.await(usual);
        CursesScreen screen(services_.colours);
        screen_ = &screen;
        while (!ended_) {
            show();
            wait();
        }
        frontEnd_.tellNothingShown();
        screen.leave();
        if (fatal_ != 0) TerminalSignals::raiseAgain(fatal_);
        return 0;
    }

  private:
    void show() {
        Moment now = momentNow();
        frontEnd_.view.tick(now);
        const Frame frame = draw(frontEnd_.view, screen_->size(), now.wall);
        screen_->paint(frame);
        now = momentNow(); // a slow terminal may have taken its time
        frontEnd_.view.drawn(frame, now);
        frontEnd_.tellShown(frame);
        nextChange_ = frame.nextChange;
        shownAt_ = now.steady;
    }

    /// How long wait() may wait, in milliseconds; -1 for until something happens.
    int patience() const {
        const Moment now = momentNow();
        std::optional<double> seconds;
        const auto include = [&](double wanted) {
            seconds = std::min(seconds.value_or(wanted), std::max(wanted, 0.0));
        };
        if (nextChange_) {
            // Ages that change by themselves cause one picture a second at most.
            const double atLeast = shownAt_ + 1 - now.steady;
            include(std::max((*nextChange_ - now.wall).count(), atLeast));
        }
        if (const auto next = frontEnd_.view.nextExample(now)) include((*next - now.wall).count());
        if (const auto retry = frontEnd_.app.reconnectAt()) include(*retry - now.steady);
        constexpr double longest = 3600;
        if (!seconds) return -1;
        return static_cast<int>(std::ceil(std::min(*seconds, longest) * 1000));
    }

    void wait() {
        Platform::AwaitedInput awaited[] = {
            {STDIN_FILENO}, {signals_.descriptor()}, {frontEnd_.app.descriptor()}};
        const auto& [keys, signal, news] = awaited;
        if (!Platform::awaitInput(awaited, patience())) ended_ = true;
        takeSignals();
        if (ended_) return;
        // Keys are taken before the app's news: they were meant for the picture that is on the screen now.
        if (keys.canRead) takeKeys();
        if (keys.isBroken) {
            screen_->abandon();
            fatal_ = SIGHUP; // it is on its way: the system sends it after it has closed the terminal
            ended_ = true;
        }
        if (news.canRead) frontEnd_.app.read();
        frontEnd_.app.reconnect();
    }

    void hungUp() {
        // Most often the terminal is gone, and whoever writes to it or waits for it never ends. But anybody
        // may send the signal, and then the terminal is to be left as it was found.
        if (!Platform::canWrite(STDOUT_FILENO)) screen_->abandon();
    }

    void takeSignals() {
        const auto pending = signals_.take();
        if (pending.fatal != 0) {
            fatal_ = pending.fatal;
            ended_ = true;
            if (fatal_ == SIGHUP) hungUp();
        }
        if (pending.suspend)
            suspend();
        else if (pending.continued)
            enterAgain(false);
    }

    void takeKeys() {
        for (const Key& key : screen_->keys())
            for (const Effect& effect : frontEnd_.view.key(key, momentNow()))
                if (!frontEnd_.perform(effect)) perform(effect);
    }

    void perform(const Effect& effect) {
        switch (effect.kind) {
        case Effect::Kind::quit: ended_ = true; break;
        case Effect::Kind::suspend: suspend(); break;
        case Effect::Kind::redraw: screen_->forget(); break;
        case Effect::Kind::toggleMouse: screen_->setMouse(!screen_->hasMouse()); break;
        case Effect::Kind::open: outside([&] { return services_.open(effect.id); }); break;
        case Effect::Kind::connectAgents:
            outside([&] {
                services_.connectAgents();
                return false; // there is something to read
            });
            frontEnd_.findAgents();
            break;
        default: break;
        }
    }

    void suspend() {
        frontEnd_.tellNothingShown();
        screen_->leave();
        signals_.stop();
        enterAgain(true);
    }

    /// A card that is drawn again must have been in view for a while before it takes keys.
    void enterAgain(bool anew) {
        screen_->enter(anew);
        frontEnd_.view.notDrawn();
    }

    /// Gives the terminal back while `work` runs. False from `work` means that it printed something, so the
    /// island returns only after Enter.
    void outside(const auto& work) {
        frontEnd_.tellNothingShown();
        screen_->leave();
        const bool isSilent = work();
        // Ctrl-C was meant for the other program.
        if (const auto pending = signals_.take(); pending.fatal == SIGTERM || pending.fatal == SIGHUP) {
            fatal_ = pending.fatal;
            ended_ = true;
            return;
        }
        if (!isSilent) {
            std::fputs("\nEnter goes back to the island. ", stdout);
            std::fflush(stdout);
            char byte = 0;
            while (::read(STDIN_FILENO, &byte, 1) == 1 && byte != '\n') {
            }
        }
        enterAgain(false);
    }

    const IslandServices& services_;
    TerminalSignals signals_;
    FrontEnd frontEnd_;
    CursesScreen* screen_ = nullptr;
    std::optional<Date> nextChange_;
    double shownAt_ = 0;
    int fatal_ = 0;
    bool ended_ = false;
};

} // namespace

int LiveIsland::onScreen(const IslandServices& services) {
    return ScreenIsland(services).run();
}

} // namespace quorvik
