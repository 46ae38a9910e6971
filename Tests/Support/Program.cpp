#include "Tests/Support/Program.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#ifdef __linux__
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#endif
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <utility>

namespace quorvik::testing {

namespace {

constexpr int patience = 20'000; // milliseconds

struct Ends {
    int read, write;
};

Ends newPipe() {
    std::array<int, 2> ends;
    if (::pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return {ends[0], ends[1]};
}

void closeOnce(int& descriptor) {
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Program::Result& result) {
    return stream << "status " << result.status << ", output: " << result.output
                  << ", errors: " << result.errors;
}

std::vector<char*> argumentsOf(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    return arguments;
}

int statusOf(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

bool readMore(int descriptor, std::string& text) {
    pollfd readable{descriptor, POLLIN, 0};
    if (::poll(&readable, 1, patience) <= 0) return false;
    char buffer[65536];
    const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
    if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
    return count > 0;
}

#ifdef __linux__
void refuse(long systemCall, int errorNumber) {
    const auto number = static_cast<unsigned>(systemCall), error = static_cast<unsigned>(errorNumber);
    sock_filter filter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0), // the call's number
                            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
                            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
                            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program{4, filter};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        ::_exit(77);
}
#endif

std::string programPath(const std::string& name) {
    return std::string(QUORVIK_BIN_DIR) + "/" + name;
}

Program::Program(const std::vector<std::string>& words, const std::function<void()>& prepare) {
    ::signal(SIGPIPE, SIG_IGN);
    const Ends in = newPipe(), out = newPipe(), err = newPipe();
    const auto arguments = argumentsOf(words);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::signal(SIGPIPE, SIG_DFL);
        ::dup2(in.read, 0);
        ::dup2(out.write, 1);
        ::dup2(err.write, 2);
        if (prepare) prepare();
        ::execvp(arguments[0], arguments.data());
        ::_exit(126);
    }
    ::close(in.read);
    ::close(out.write);
    ::close(err.write);
    input_ = in.write;
    output_ = out.read;
    errors_ = err.read;
}

Program::~Program() {
    closeOnce(input_);
    closeOnce(output_);
    closeOnce(errors_);
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        statusOf(pid_);
    }
}

void Program::closeInput() {
    closeOnce(input_);
}

void Program::giveInput(const std::string& text) {
    ASSERT_EQ(::write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    closeInput();
}

void Program::closeOutput() {
    closeOnce(output_);
}

std::string Program::readLine() {
    for (;;) {
        if (const auto end = buffered_.find('\n'); end != std::string::npos) {
            std::string line = buffered_.substr(0, end);
            buffered_.erase(0, end + 1);
            return line;
        }
        if (!readMore(output_, buffered_)) {
            ADD_FAILURE() << "no line came";
            return buffered_;
        }
    }
}

Program::Result Program::finish(const std::string& input) {
    Result result{0, buffered_, ""};
    std::thread feeder([&] {
        for (std::size_t sent = 0; sent < input.size();) {
            const ssize_t count = ::write(input_, input.data() + sent, input.size() - sent);
            if (count <= 0) break;
            sent += static_cast<std::size_t>(count);
        }
        closeInput();
    });
    std::thread errors([&] {
        while (errors_ >= 0 && readMore(errors_, result.errors)) {
        }
    });
    while (output_ >= 0 && readMore(output_, result.output)) {
    }
    feeder.join();
    errors.join();
    result.status = statusOf(std::exchange(pid_, -1));
    return result;
}

Program::Result Program::run(const std::vector<std::string>& words, const std::string& input,
                             const std::function<void()>& prepare) {
    return Program(words, prepare).finish(input);
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "it did not happen";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace quorvik::testing
