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

/// The app cannot be reached; what() says why, in one line: it does not run ("Quorvik is not running"), could
/// not be started, is busy or went away, or another user's program listens.
class NoApp : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// "Quorvik is not running": nobody listens.
class NotRunning : public NoApp {
  public:
    NotRunning() : NoApp("Quorvik is not running") {}
};

/// The app has a front end of this role, and takes one only; what() names it.
class RoleTaken : public NoApp {
  public:
    using NoApp::NoApp;
};

/// A front end's connection to the app's control socket. Blocking calls have time limits; programs that wait
/// for several things at once read snapshots without blocking. Never raises SIGPIPE. For one thread.
class ControlClient {
  public:
    using Seconds = std::chrono::duration<double>;

    enum class Start {
        never,    ///< for commands such as `answer`: an app just started has nothing to tell them
        ifMissing ///< for the live island, `watch`, `restart`, the overlay; not with QUORVIK_NO_START=1
    };

    /// Connects and says hello as `role` ("island", "watch", "overlay", "command"). With `ifMissing`, starts
    /// the app when it does not run and waits until it is ready, and replaces an older app unless a request
    /// waits there. `patience` bounds the wait for the first answer of an app that runs. Throws NoApp.
    static ControlClient connect(std::string_view role, Start start, Seconds patience = Seconds(5));

    /// Sends a request and waits for its reply; snapshots that come meanwhile are kept. Throws ControlError,
    /// and NoApp when the connection breaks or there is no reply in time.
    nlohmann::json call(std::string_view method, const nlohmann::json& params = nlohmann::json::object(),
                        Seconds timeout = Seconds(10));

    /// Sends a request and does not wait. Its reply comes with read(), under the number returned. Throws
    /// NoApp.
    std::int64_t send(std::string_view method, const nlohmann::json& params = nlohmann::json::object());

    /// Asks for the current snapshot. Throws as call() does.
    Snapshot snapshot();

    /// Asks for snapshots: from now on read() gives one, of the whole state, at once and after every change.
    /// Throws as call() does.
    void subscribe();

    /// Becomes readable when read() may have something to give.
    int descriptor() const { return socket_.get(); }

    /// The reply to a send().
    struct Reply {
        std::int64_t id = 0;
        nlohmann::json result;             ///< null after an error
        std::optional<ControlError> error; ///< absent after success
    };

    /// The next reply or snapshot that has come, oldest first; does not block. A snapshot that was followed
    /// by a newer one is left out. Absent when there is nothing more for now. Throws NoApp once the
    /// connection has ended, and RecordError when the app sends what is not of the protocol.
    std::optional<std::variant<std::shared_ptr<const Snapshot>, Reply>> read();

    /// The app's reply to "hello": its version, program and so on.
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
