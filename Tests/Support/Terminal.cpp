#include "Tests/Support/Terminal.h"

#include "Tests/Support/Program.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace quorvik::testing {

Terminal::Terminal(const std::vector<std::string>& words, const std::function<void()>& prepare)
    : terminal_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    if (terminal_ < 0 || ::grantpt(terminal_) != 0 || ::unlockpt(terminal_) != 0)
        throw std::runtime_error("no pseudo-terminal");
    ::fcntl(terminal_, F_SETFD, FD_CLOEXEC);
    const std::string name = ::ptsname(terminal_);
    const auto arguments = argumentsOf(words);
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

void Terminal::resize(unsigned short rows, unsigned short columns) const {
    const winsize size{.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    ASSERT_EQ(::ioctl(terminal_, TIOCSWINSZ, &size), 0);
}

termios Terminal::settings() const {
    termios settings{};
    EXPECT_EQ(::tcgetattr(terminal_, &settings), 0);
    return settings;
}

void Terminal::hangUp() {
    ::close(std::exchange(terminal_, -1));
}

std::string Terminal::waitFor(std::string_view text) {
    for (;;) {
        if (const auto at = shown_.find(text); at != std::string::npos) {
            std::string before = shown_.substr(0, at);
            shown_.erase(0, at + text.size());
            return before;
        }
        if (!readMore(terminal_, shown_)) {
            ADD_FAILURE() << "never shown: " << text << "; this was: " << shown_;
            return shown_;
        }
    }
}

void Terminal::destroy() {
    ::kill(pid_, SIGKILL);
    statusOf(std::exchange(pid_, -1));
}

int Terminal::finish() {
    while (terminal_ >= 0 && readMore(terminal_, shown_)) {
    }
    return statusOf(std::exchange(pid_, -1));
}

} // namespace quorvik::testing
