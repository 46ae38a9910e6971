#include "Tests/Support/Terminal.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace quorvik::testing {

Terminal::Terminal(const std::vector<std::string>& words, const std::function<void()>& prepare)
    : terminal_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    if (terminal_ < 0 || ::grantpt(terminal_) != 0 || ::unlockpt(terminal_) != 0)
        throw std::runtime_error("no pseudo-terminal");
    ::fcntl(terminal_, F_SETFD, FD_CLOEXEC);
    const std::string name = ::ptsname(terminal_);
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::setsid();
        const int side = ::open(name.c_str(), O_RDWR);
        ::ioctl(side, TIOCSCTTY, 0);
        for (const int standard : {0, 1, 2})
            ::dup2(side, standard);
        if (side > 2) ::close(side);
        for (const int signal : {SIGPIPE, SIGINT, SIGQUIT, SIGHUP, SIGTERM})
            ::signal(signal, SIG_DFL);
        if (prepare) prepare();
        ::execvp(arguments[0], arguments.data());
        ::_exit(126);
    }
}

Terminal::~Terminal() {
    ::close(terminal_);
    if (pid_ > 0) destroy();
}

void Terminal::type(std::string_view keys) const {
    ASSERT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

bool Terminal::readMore() {
    constexpr int patience = 20'000; // milliseconds
    pollfd readable{terminal_, POLLIN, 0};
    if (::poll(&readable, 1, patience) <= 0) return false;
    char buffer[4096];
    const ssize_t count = ::read(terminal_, buffer, sizeof buffer);
    if (count > 0) shown_.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

std::string Terminal::waitFor(std::string_view text) {
    for (;;) {
        if (const auto at = shown_.find(text); at != std::string::npos) {
            std::string before = shown_.substr(0, at);
            shown_.erase(0, at + text.size());
            return before;
        }
        if (!readMore()) {
            ADD_FAILURE() << "never shown: " << text << "; this was: " << shown_;
            return shown_;
        }
    }
}

void Terminal::destroy() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

int Terminal::finish() {
    while (readMore()) {
    }
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace quorvik::testing
