#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>

namespace quorvik {

/// The app said no; what() is its message, for people, code() one of docs/control.md.
class ControlError : public std::runtime_error {
  public:
    ControlError(int code, const std::string& message) : std::runtime_error(message), code_(code) {}
    int code() const { return code_; }

  private:
    int code_;
};

/// There is no talking to the app; what() says why, in one line: it does not run ("Quorvik is not running"),
/// it could not be started, it is busy, it went away, somebody else's program listens.
class NoApp : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A front end's end of the control socket. Blocking calls with limits, and a non-blocking way to read
/// snapshots for programs that wait for several things at once. Never raises SIGPIPE. For one thread.
class ControlClient {
  public:
    using Seconds = std::chrono::duration<double>;

    enum class Start {
        never,    ///< hooks, alerts, answers: who asks nobody must not start somebody
        ifMissing ///< the live island, `watch`, the overlay. QUORVIK_NO_START=1 forbids it to them too
    };

    /// Connects and says hello as `role` ("island", "watch", "overlay", "command"). Starts the app when it is
    /// missing and that is wanted, and waits until it is ready. An older app is replaced when nothing waits
    /// there. Throws NoApp.
    static ControlClient connect(std::string_view role, Start start);

    /// Sends a request and waits for its reply; snapshots that come meanwhile are kept. Throws ControlError,
    /// and NoApp when the connection breaks or there is no reply in time.
    nlohmann::json call(std::string_view method, const nlohmann::json& params = nlohmann::json::object(),
                        Seconds timeout = Seconds(10));

    /// Sends a request and does not wait. Its reply comes with read(), under the number returned. Throws
    /// NoApp.
    std::int64_t send(std::string_view method, const nlohmann::json& params = nlohmann::json::object());

    /// The state, once. Throws as call() does.
    Snapshot snapshot();

    /// From now on read() gives snapshots, the whole state first. Throws as call() does.
    void subscribe();

    /// To be polled for readability by those who call read().
    int descriptor() const { return socket_.get(); }

    /// A reply to send().
    struct Reply {
        std::int64_t id = 0;
        nlohmann::json result;             ///< null after an error
        std::optional<ControlError> error; ///< absent after success
    };

    /// What has come, oldest first; of snapshots that have all come already only the newest is read. Does not
    /// block. Absent when there is nothing more for now. Throws NoApp once the connection has ended, and
    /// RecordError when the app talks nonsense.
    std::optional<std::variant<std::shared_ptr<const Snapshot>, Reply>> read();

    /// What the app said of itself.
    const nlohmann::json& hello() const { return hello_; }

  private:
    explicit ControlClient(FileDescriptor socket) : socket_(std::move(socket)) {}

    void receive(std::optional<Seconds> wait);
    void sendLine(const std::string& line);

    FileDescriptor socket_;
    nlohmann::json hello_;
    std::string input_;                ///< bytes that are no whole line yet
    std::deque<std::string> messages_; ///< lines that nobody has asked for yet
    std::shared_ptr<const Snapshot> last_;
    std::int64_t lastID_ = 0;
    bool isClosed_ = false;
};

} // namespace quorvik
