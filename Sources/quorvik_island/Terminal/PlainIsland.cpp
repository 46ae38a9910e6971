#include "quorvik_island/Terminal/LiveIsland.h"
#include "quorvik_island/Terminal/PlainText.h"

#include "QuorvikCore/Platform/DescriptorWait.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Text/Unicode.h"

#include <termios.h>
#include <unistd.h>

#include <cmath>

namespace quorvik {

namespace {

/// For the app, to be started and to answer; Ctrl-C works meanwhile.
constexpr ControlClient::Seconds patience(20);

class PlainIsland {
  public:
    explicit PlainIsland(const IslandServices& services) : services_(services), frontEnd_(services) {}

    int run() {
        line("The island, in lines. Type help for what you can do.");
        frontEnd_.connect(ControlClient::Start::ifMissing);
        frontEnd_.app.await(patience);
        if (frontEnd_.view.isFirstRun()) {
            const auto& agents = frontEnd_.view.agents();
            for (const FoundAgent& agent : agents)
                line(agent.name + ": " + agent.status);
            line(agents.empty()
                     ? "No coding agent was found in your home folder."
                     : "No coding agent is connected with Quorvik yet. Type connect to connect those above.");
        }
        while (!ended_) {
            tell();
            Platform::AwaitedInput awaited[] = {{STDIN_FILENO}, {frontEnd_.app.descriptor()}};
            if (!Platform::awaitInput(awaited, milliseconds())) return 1;
            if (awaited[0].canRead) takeInput();
            if (awaited[1].canRead) frontEnd_.app.read();
            frontEnd_.app.reconnect();
        }
        return 0;
    }

  private:
    int milliseconds() const {
        const auto retry = frontEnd_.app.reconnectAt();
        return retry ? static_cast<int>(std::ceil(std::max(*retry - steadySeconds(), 0.0) * 1000)) : -1;
    }

    void line(const std::string& text) {
        const std::string whole = text + "\n";
        if (!writeAll(STDOUT_FILENO, whole.data(), whole.size())) ended_ = true;
    }

    /// Prints what has changed since the last call.
    void tell() {
        View& view = frontEnd_.view;
        if (view.whyDisconnected() != lost_) {
            lost_ = view.whyDisconnected();
            line(lost_.empty() ? "Connected." : "Not connected: " + lost_ + ".");
        }
        for (const std::string& change : changesInWords(told_, view.snapshot()))
            line(change);
        told_ = view.snapshot();
        if (!view.message().empty()) {
            line(drawable(view.message()));
            view.say("");
        }
        tellSheet();
        const CardState* card = view.card();
        const bool isOpen = card && !card->isSent;
        if (request_ && (!card || card->id() != request_->id())) {
            request_.reset();
            if (!isSent_) line("That request is gone.");
        }
        const bool isRefused = request_ && isSent_ && isOpen; // the app did not take the answer
        if (isRefused) {
            isSent_ = false;
            put();
        }
        if (!request_ && isOpen) {
            request_.emplace(*card);
            isSent_ = false;
            put();
        }
    }

    /// Prints the files that were asked for, once they have come.
    void tellSheet() {
        const Sheets& sheets = frontEnd_.view.sheets();
        if (!sheets.isOpen() || sheets.upper().isWaiting) return;
        line(drawable(sheets.upper().title));
        for (const Sheet::Row& row : sheets.upper().rows) {
            std::string text = row.text + (row.tail.empty() ? "" : " ");
            for (const Sheet::Text& piece : row.tail)
                text += piece.text;
            line(" " + drawable(text));
        }
        frontEnd_.view.closeSheets();
    }

    /// Puts the request. Input that was typed before is discarded, since it was not meant for this request.
    void put() {
        for (const std::string& each : request_->lines())
            line(each);
        ::tcflush(STDIN_FILENO, TCIFLUSH);
        input_.clear();
        putAt_ = steadySeconds();
        Frame frame;
        frame.card = {.request = request_->id()};
        frontEnd_.tellShown(frame);
    }

    void takeInput() {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count <= 0) {
            ended_ = true;
            return;
        }
        input_.append(bytes, static_cast<std::size_t>(count));
        for (std::size_t end; !ended_ && (end = input_.find('\n')) != input_.npos;) {
            const std::string typed = Unicode::repaired(input_.substr(0, end));
            input_.erase(0, end + 1);
            take(typed);
        }
    }

    void take(const std::string& typed) {
        constexpr double tooSoon = 1.0 / 3; // seconds in which nobody can have read it
        if (typed == "q" || typed == "quit") {
            ended_ = true;
        } else if (typed == "help") {
            line("A number answers the request that is shown last. list tells what is going on. changes "
                 "tells the files of the first changes in git. connect connects coding agents. q quits.");
        } else if (typed == "list") {
            for (const std::string& each : changesInWords({}, frontEnd_.view.snapshot()))
                line(each);
        } else if (typed == "changes") {
            const auto effects = frontEnd_.view.openChanges();
            if (effects.empty()) line("No changes in git are shown.");
            for (const Effect& effect : effects)
                frontEnd_.perform(effect);
        } else if (typed == "connect") {
            services_.connectAgents();
            frontEnd_.findAgents();
        } else if (typed.empty()) {
            return;
        } else if (!request_ || isSent_) {
            line("Nothing waits for an answer. Type help for what you can do.");
        } else if (steadySeconds() - putAt_ < tooSoon) {
            line("That came too soon after the request. Type it again.");
        } else {
            answer(typed);
        }
    }

    void answer(const std::string& typed) {
        std::string problem;
        const auto response = request_->take(typed, problem);
        if (!problem.empty()) {
            line(problem);
        } else if (!response) {
            put();
        } else {
            isSent_ = true;
            if (CardState* card = frontEnd_.view.card()) card->isSent = true;
            frontEnd_.perform({Effect::Kind::answer, request_->id(), *response});
            line("Sent.");
        }
    }

    const IslandServices& services_;
    FrontEnd frontEnd_;
    Snapshot told_;
    std::string lost_;
    std::optional<PlainRequest> request_;
    bool isSent_ = false, ended_ = false;
    double putAt_ = 0; ///< steady
    std::string input_;
};

} // namespace

int LiveIsland::inLines(const IslandServices& services) {
    return PlainIsland(services).run();
}

} // namespace quorvik
