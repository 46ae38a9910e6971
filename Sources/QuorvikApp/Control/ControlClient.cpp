#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikApp/Control/AppStarter.h"
#include "QuorvikApp/Control/Protocol.h"
#include "QuorvikApp/Control/Version.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/LineSocket.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>

namespace quorvik {

namespace {

using Seconds = ControlClient::Seconds;
using Clock = std::chrono::steady_clock;

constexpr Seconds connectLimit(3), startLimit(5), replacementLimit(5);

#ifdef MSG_NOSIGNAL
constexpr int sendFlags = MSG_NOSIGNAL;
#else
constexpr int sendFlags = 0; // SO_NOSIGPIPE does it for the whole socket
#endif

bool meansNobody(int error) {
    return error == ENOENT || error == ECONNREFUSED;
}

[[noreturn]] void failToConnect(int error) {
    const std::string path = QuorvikPaths::controlSocket().string();
    if (meansNobody(error)) throw NotRunning();
    if (error == EPERM) throw NoApp("another user's program listens at " + path);
    if (error == EAGAIN) throw NoApp("Quorvik is too busy to answer");
    throw NoApp("could not connect to " + path + ": " + std::generic_category().message(error));
}

FileDescriptor connected(int& error) {
    return connectedSocket(QuorvikPaths::controlSocket().string(), connectLimit, error);
}

/// The app that answered is on its way out.
class AboutToEnd : public NoApp {
  public:
    using NoApp::NoApp;
};

/// For as long as an app may take to end.
void waitUntilNobodyListens() {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(replacementLimit);
    int error = 0;
    while (Clock::now() < deadline && connected(error))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

/// Starts the app and connects, or connects to the one that somebody else has started meanwhile.
FileDescriptor startAndConnect() {
    if (AppStarter::isForbidden()) throw NotRunning();
    AppStarter::start(startLimit);
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(startLimit);
    for (auto pause = std::chrono::milliseconds(10);; pause *= 2) {
        int error = 0;
        if (FileDescriptor socket = connected(error)) return socket;
        if (!meansNobody(error) || Clock::now() + pause > deadline) failToConnect(error);
        std::this_thread::sleep_for(pause); // somebody holds the lock, and is about to listen
        constexpr auto suspicious = std::chrono::milliseconds(80);
        // Or was about to end, or the service manager cannot run it.
        if (pause >= suspicious) AppStarter::start(startLimit, AppStarter::Way::directly);
    }
}

ControlError errorOf(const nlohmann::json& error) {
    const RecordReader reader(error);
    int code = 0;
    std::string message;
    reader.required("code", code);
    reader.required("message", message);
    return {code, message};
}

} // namespace

ControlClient ControlClient::connect(std::string_view role, Start start, Seconds patience) {
    const auto sayHello = [&](FileDescriptor socket) {
        ControlClient client(std::move(socket));
        try {
            client.hello_ = client.call("hello",
                                        {{"protocol", ControlProtocol::version},
                                         {"version", BuildInfo::version()},
                                         {"program", Version::program()},
                                         {"role", role}},
                                        patience);
        } catch (const ControlError& error) {
            if (error.code() == ControlProtocol::stopping) throw AboutToEnd(error.what());
            if (error.code() == ControlProtocol::roleTaken) throw RoleTaken(error.what());
            throw NoApp(std::string(error.what()) + ": stop it, then try again");
        }
        return client;
    };
    int error = 0;
    FileDescriptor socket = connected(error);
    if (!socket && !(meansNobody(error) && start == Start::ifMissing)) failToConnect(error);
    if (!socket) return sayHello(startAndConnect());
    ControlClient client(FileDescriptor{});
    try {
        client = sayHello(std::move(socket));
    } catch (const AboutToEnd&) {
        if (start == Start::never) throw;
        waitUntilNobodyListens();
        return sayHello(startAndConnect());
    }
    const std::string itsVersion = client.hello_.value("version", "");
    if (start == Start::never || !Version::isOlder(itsVersion, BuildInfo::version())) return client;

    // An upgrade: a newer front end replaces the older app, which refuses while a request waits there.
    try {
        client.call("stop", {{"replacedBy", BuildInfo::version()}});
    } catch (const ControlError& refusal) {
        throw NoApp("an older Quorvik (" + itsVersion + ", " + client.hello_.value("program", "") +
                    ") still runs, where " + refusal.what() +
                    ": once that is settled, run quorvik-island restart");
    }
    waitUntilNobodyListens();
    return sayHello(startAndConnect());
}

nlohmann::json ControlClient::call(std::string_view method, const nlohmann::json& params, Seconds timeout) {
    const std::int64_t id = send(method, params);
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout);
    std::deque<std::string> others;
    const auto keepOthers = [&] {
        messages_.insert(messages_.begin(), std::make_move_iterator(others.begin()),
                         std::make_move_iterator(others.end()));
    };
    for (;;) {
        while (!messages_.empty()) {
            std::string line = std::move(messages_.front());
            messages_.pop_front();
            const auto object = RawJSON::object(line);
            const std::string_view* replyID = object ? (*object)["id"] : nullptr;
            if (!replyID || *replyID != std::to_string(id)) {
                others.push_back(std::move(line));
                continue;
            }
            const std::string_view* failure = (*object)["error"];
            const std::string_view* result = (*object)["result"];
            const auto value = failure ? parseJSON(*failure) : result ? parseJSON(*result) : std::nullopt;
            keepOthers();
            if (!value) throw NoApp("Quorvik talks nonsense");
            if (failure) throw errorOf(*value);
            return *value;
        }
        const Seconds left = deadline - Clock::now();
        if (left <= Seconds::zero() || isClosed_) {
            keepOthers();
            throw NoApp(isClosed_ ? "Quorvik went away" : "Quorvik did not answer");
        }
        receive(left);
    }
}

std::int64_t ControlClient::send(std::string_view method, const nlohmann::json& params) {
    const std::int64_t id = ++lastID_;
    sendLine(ControlProtocol::request(id, method, params));
    return id;
}

void ControlClient::sendLine(const std::string& line) {
    const std::string text = line + "\n";
    std::size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t count = ::send(socket_.get(), text.data() + sent, text.size() - sent, sendFlags);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            isClosed_ = true;
            throw NoApp(errno == EAGAIN ? "Quorvik is too busy to answer" : "Quorvik went away");
        }
        sent += static_cast<std::size_t>(count);
    }
}

Snapshot ControlClient::snapshot() {
    return Snapshot::fromJSON(printJSON(call("snapshot")));
}

void ControlClient::subscribe() {
    const nlohmann::json state = call("subscribe");
    messages_.push_front(ControlProtocol::notificationText("snapshot", printJSON(state)));
}

void ControlClient::receive(std::optional<Seconds> wait) {
    pollfd readable{socket_.get(), POLLIN, 0};
    const double milliseconds = wait ? std::clamp(wait->count() * 1000 + 1, 0.0, 60'000.0) : 0;
    if (::poll(&readable, 1, static_cast<int>(milliseconds)) <= 0) return;
    char bytes[65'536];
    for (;;) {
        const ssize_t count = ::recv(socket_.get(), bytes, sizeof bytes, MSG_DONTWAIT);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        if (count <= 0) {
            isClosed_ = true;
            return;
        }
        std::string_view rest(bytes, static_cast<std::size_t>(count));
        for (std::size_t end; (end = rest.find('\n')) != rest.npos; rest.remove_prefix(end + 1)) {
            input_ += rest.substr(0, end);
            messages_.push_back(std::exchange(input_, {}));
        }
        input_ += rest;
    }
}

std::optional<std::variant<std::shared_ptr<const Snapshot>, ControlClient::Reply>> ControlClient::read() {
    receive(std::nullopt);
    while (!messages_.empty()) {
        const std::string line = std::move(messages_.front());
        messages_.pop_front();
        const auto object = RawJSON::object(line);
        if (!object) throw RecordError("not a message");
        if (const std::string_view* id = (*object)["id"]) {
            Reply reply;
            if (const auto value = parseJSON(*id); value && value->is_number_integer())
                reply.id = value->get<std::int64_t>();
            const std::string_view* failure = (*object)["error"];
            const std::string_view* result = (*object)["result"];
            const auto value = failure ? parseJSON(*failure) : result ? parseJSON(*result) : std::nullopt;
            if (!value) throw RecordError("not a reply");
            if (failure)
                reply.error = errorOf(*value);
            else
                reply.result = *value;
            return reply;
        }
        const std::string_view* params = (*object)["params"];
        const auto isSnapshot = [](const std::string& message) {
            return message.starts_with(R"({"jsonrpc":"2.0","method":"snapshot")");
        };
        if (!params || !isSnapshot(line)) continue; // a notification of a later version
        // What has been overtaken already is not read.
        if (std::ranges::any_of(messages_, isSnapshot)) continue;
        last_ = std::make_shared<const Snapshot>(Snapshot::fromJSON(*params, last_.get()));
        return last_;
    }
    if (isClosed_) throw NoApp("Quorvik went away");
    return std::nullopt;
}

} // namespace quorvik
