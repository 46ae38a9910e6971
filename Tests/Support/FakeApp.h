#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace quorvik::testing {

/// The other end of a socket: accepts connections one after the other, reads a line of each and answers as
/// told.
class FakeApp {
  public:
    /// `answer` gets the line without its line feed, and the connection to write to; the connection is closed
    /// after it. Listening when the constructor returns.
    using Answer = std::function<void(const std::string& line, int connection)>;
    FakeApp(const std::filesystem::path& socketPath, Answer answer);
    ~FakeApp();
    FakeApp(const FakeApp&) = delete;
    FakeApp& operator=(const FakeApp&) = delete;

    /// Answers every line with this text.
    static Answer says(std::string text);
    /// Answers nothing, and waits until the other side goes.
    static Answer isSilent();

  private:
    void serve();

    std::filesystem::path path_;
    Answer answer_;
    int listener_ = -1;
    std::atomic<bool> over_ = false;
    std::thread thread_;
};

} // namespace quorvik::testing
