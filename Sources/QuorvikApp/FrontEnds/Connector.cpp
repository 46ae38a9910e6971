#include "QuorvikApp/FrontEnds/Connector.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <poll.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace quorvik {

struct Connector::Attempt {
    Attempt(std::string role_, ControlClient::Start start_) : role(std::move(role_)), start(start_) {}

    std::string role;
    ControlClient::Start start;
    Result result;
    std::atomic<bool> isOver = false; ///< `result` is there
    Pipe ended = Pipe::create();      ///< the write end is closed after that

    void run() {
        try {
            ControlClient client = ControlClient::connect(role, start);
            client.subscribe();
            result = std::move(client);
        } catch (const RoleTaken& error) {
            result = Failure{error.what(), true};
        } catch (const std::exception& error) {
            result = Failure{error.what()};
        }
        isOver = true;
        ended.writeEnd.close();
    }
};

void Connector::start(ControlClient::Start start) {
    if (attempt_ && attempt_->start >= start) return;
    attempt_ = std::make_shared<Attempt>(role_, start);
    // Signals are for the thread that waits for keys.
    sigset_t all, before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        if (!attempt_->ended.readEnd) throw std::system_error(errno, std::generic_category());
        std::thread([attempt = attempt_] { attempt->run(); }).detach();
    } catch (const std::system_error& error) {
        attempt_->result = Failure{std::string("there is no way to connect: ") + error.what()};
        attempt_->isOver = true;
        attempt_->ended.writeEnd.close();
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

int Connector::descriptor() const {
    return attempt_ ? attempt_->ended.readEnd.get() : -1;
}

bool Connector::wait(Seconds longest) const {
    if (!attempt_ || !attempt_->ended.readEnd) return true;
    pollfd end{descriptor(), POLLIN, 0};
    return ::poll(&end, 1, static_cast<int>(longest.count() * 1000)) > 0;
}

Connector::Result Connector::take() {
    if (!attempt_ || !attempt_->isOver) return {};
    return std::move(std::exchange(attempt_, nullptr)->result);
}

} // namespace quorvik
