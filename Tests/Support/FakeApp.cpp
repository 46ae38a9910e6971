#include "Tests/Support/FakeApp.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace quorvik::testing {

FakeApp::FakeApp(const std::filesystem::path& socketPath, Answer answer)
    : path_(socketPath), answer_(std::move(answer)), listener_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
    std::filesystem::create_directories(path_.parent_path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    ::fcntl(listener_, F_SETFD, FD_CLOEXEC);
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, 8) != 0)
        throw std::runtime_error("cannot listen on " + path_.string());
    thread_ = std::thread([this] { serve(); });
}

FakeApp::~FakeApp() {
    over_ = true;
    thread_.join();
    ::close(listener_);
    ::unlink(path_.c_str());
}

FakeApp::Answer FakeApp::says(std::string text) {
    return [text = std::move(text)](const std::string&, int connection) {
        [[maybe_unused]] const auto count = ::write(connection, text.data(), text.size());
    };
}

FakeApp::Answer FakeApp::isSilent() {
    return [](const std::string&, int connection) {
        for (char byte; ::read(connection, &byte, 1) > 0;) {
        }
    };
}

void FakeApp::serve() {
    while (!over_) {
        // Looking now and then: on macOS nothing but a connection wakes who waits in accept().
        pollfd readable{listener_, POLLIN, 0};
        if (::poll(&readable, 1, 10) <= 0) continue;
        const int connection = ::accept(listener_, nullptr, nullptr);
        std::string line;
        for (char c; ::read(connection, &c, 1) == 1 && c != '\n';)
            line += c;
        answer_(line, connection);
        ::close(connection);
    }
}

} // namespace quorvik::testing
