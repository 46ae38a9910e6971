#include "QuorvikApp/Loop/LineServer.h"

#include "QuorvikApp/Loop/Handle.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <vector>

namespace quorvik {

namespace {

/// A connected socket through libuv.
class PipeConnection : public LineConnection {
  public:
    using Gone = std::function<void(PipeConnection*)>;

    PipeConnection(EventLoop& loop, const LineLimits& limits, const Platform::PeerProcess& peer, Gone gone)
        : limits_(limits), peer_(peer), gone_(std::move(gone)), pipe_(std::make_shared<Pipe>()),
          deadline_(loop, [this] { fail(End::broken); }) {
        pipe_->loop = &loop;
        pipe_->connection = this;
        uv_pipe_init(loop.handle(), &pipe_->handle, 0); // cannot fail
        pipe_->opened();
    }

    ~PipeConnection() override { shut(); }

    /// Takes the descriptor over. False when the system does not play along.
    bool start(FileDescriptor socket) {
        if (uv_pipe_open(&pipe_->handle, socket.get()) != 0) return false;
        socket.release();
        deadline_.start(limits_.firstLine);
        return uv_read_start(stream(), allocate, arrived) == 0;
    }

    void send(std::string line, std::function<void(bool)> sent) override {
        line += '\n';
        // One line always fits, however long.
        if (!isOpen() || isFinished() || waitingBytes_ > limits_.outputBytes) {
            if (sent) pipe_->loop->later([sent = std::move(sent)] { sent(false); });
            if (isOpen() && !isFinished()) noteEnd(End::broken);
            return;
        }
        waitingBytes_ += line.size();
        waiting_.push_back({std::make_shared<const std::string>(std::move(line)), std::move(sent)});
        writeNext();
    }

    void sendLatest(Text line) override {
        if (!isOpen() || isClosing_) return;
        latest_ = std::move(line);
        writeNext();
    }

    void close() override {
        onLine = {};
        onClosed = {};
        shut();
    }

    void closeWhenSent() override {
        onLine = {};
        onClosed = {};
        isClosing_ = true;
        latest_.reset();
        shutWhenDone();
    }

    std::shared_ptr<void> promise() override {
        ++promises_;
        return {nullptr, [kept = weak_from_this()](void*) {
                    const auto connection = std::static_pointer_cast<PipeConnection>(kept.lock());
                    if (!connection) return;
                    --connection->promises_;
                    connection->shutWhenDone();
                }};
    }

    bool isOpen() const override { return pipe_->connection != nullptr; }
    const Platform::PeerProcess& peer() const override { return peer_; }

    /// Whether a whole line has come.
    bool hasSpoken() const { return hasSpoken_; }

    /// Ends the connection as if it had broken.
    void drop() { noteEnd(End::broken); }

  private:
    /// How the other side ended: `silent` sends no more but may read; `broken` does neither.
    enum class End { silent, broken };

    struct Pipe : Handle<Pipe, uv_pipe_t> {
        PipeConnection* connection = nullptr; ///< null once it is closed
    };
    struct Line {
        Text text;
        std::function<void(bool)> sent;
    };
    /// A line on its way. Owned by libuv while it is written.
    struct Write {
        uv_write_t request{};
        Line line;
        std::size_t counted = 0; ///< in waitingBytes_
        bool needsLineFeed = false;
        std::shared_ptr<Pipe> pipe;
    };

    /// Whether nothing more is to be sent than what waits.
    bool isFinished() const { return isClosing_ && promises_ == 0; }

    void shutWhenDone() {
        if (isFinished() && !writing_ && waiting_.empty()) shut();
    }

    uv_stream_t* stream() { return reinterpret_cast<uv_stream_t*>(&pipe_->handle); }

    static void allocate(uv_handle_t*, std::size_t, uv_buf_t* buffer) {
        thread_local char chunk[65'536]; // emptied before the next connection is read
        *buffer = uv_buf_init(chunk, sizeof chunk);
    }

    static void arrived(uv_stream_t* stream, ssize_t count, const uv_buf_t* buffer) {
        PipeConnection* const connection = static_cast<Pipe*>(stream->data)->connection;
        if (!connection || count == 0) return;
        if (count < 0)
            connection->noteEnd(count == UV_EOF ? End::silent : End::broken);
        else
            connection->take({buffer->base, static_cast<std::size_t>(count)});
    }

    void take(std::string_view bytes) {
        while (!bytes.empty()) {
            const std::size_t lineFeed = bytes.find('\n');
            input_ += bytes.substr(0, lineFeed);
            if (input_.size() >= limits_.lineBytes) return noteEnd(End::broken);
            if (lineFeed == bytes.npos) return;
            bytes.remove_prefix(lineFeed + 1);
            if (!hasSpoken_) deadline_.stop();
            hasSpoken_ = true;
            pipe_->loop->later([kept = weak_from_this(), line = std::exchange(input_, {})]() mutable {
                const auto connection = std::static_pointer_cast<PipeConnection>(kept.lock());
                if (!connection || !connection->onLine) return;
                const auto handler = connection->onLine; // it may be replaced meanwhile
                handler(std::move(line));
            });
        }
    }

    /// Ends the connection after the lines that came before have been handled.
    void noteEnd(End end) {
        uv_read_stop(stream());
        pipe_->loop->later([kept = weak_from_this(), end] {
            if (const auto connection = std::static_pointer_cast<PipeConnection>(kept.lock()))
                connection->fail(end);
        });
    }

    void fail(End end) {
        const auto kept = shared_from_this(); // whoever owns us may let go
        const EventLoop::Handler closed = std::exchange(onClosed, {});
        onLine = {};
        if (closed) closed();
        // A peer that only stopped sending still gets the waiting lines if its owner called closeWhenSent().
        if (end == End::broken || !isClosing_) shut();
    }

    void writeNext() {
        if (writing_) return;
        auto write = std::make_unique<Write>();
        if (!waiting_.empty()) {
            write->line = std::move(waiting_.front());
            write->counted = write->line.text->size();
            waiting_.pop_front();
        } else if (latest_) {
            write->line.text = std::exchange(latest_, {});
            write->needsLineFeed = true;
        } else {
            shutWhenDone();
            return;
        }
        write->pipe = pipe_;
        static char lineFeed[] = "\n";
        const uv_buf_t parts[] = {uv_buf_init(const_cast<char*>(write->line.text->data()),
                                              static_cast<unsigned>(write->line.text->size())),
                                  uv_buf_init(lineFeed, 1)};
        uv_write_t* const request = &write->request;
        request->data = write.get();
        writing_ = true;
        if (hasSpoken_) deadline_.start(limits_.stalled);
        if (uv_write(request, stream(), parts, write->needsLineFeed ? 2 : 1, written) == 0) {
            write.release();
            return;
        }
        writing_ = false;
        report(write->line, false);
        noteEnd(End::broken);
    }

    static void written(uv_write_t* request, int status) {
        const std::unique_ptr<Write> write(static_cast<Write*>(request->data));
        PipeConnection* const connection = write->pipe->connection;
        if (write->line.sent)
            write->pipe->loop->later([sent = write->line.sent, status] { sent(status == 0); });
        if (!connection) return;
        connection->writing_ = false;
        connection->waitingBytes_ -= write->counted;
        if (connection->hasSpoken_) connection->deadline_.stop();
        if (status != 0) return connection->noteEnd(End::broken);
        connection->writeNext();
    }

    void report(const Line& line, bool success) {
        if (line.sent) pipe_->loop->later([sent = line.sent, success] { sent(success); });
    }

    /// Lets go of the socket. Lines that nobody has taken are reported.
    void shut() {
        if (!pipe_->connection) return;
        pipe_->connection = nullptr;
        deadline_.stop();
        pipe_->close();
        for (const Line& line : std::exchange(waiting_, {}))
            report(line, false);
        latest_.reset();
        if (const Gone gone = std::exchange(gone_, {})) gone(this); // it may destroy this
    }

    const LineLimits limits_;
    const Platform::PeerProcess peer_;
    Gone gone_;
    std::shared_ptr<Pipe> pipe_;
    Timer deadline_; ///< for the first line, then for each write
    std::string input_;
    std::deque<Line> waiting_;
    Text latest_;
    std::size_t waitingBytes_ = 0;
    std::size_t promises_ = 0;
    bool hasSpoken_ = false, writing_ = false, isClosing_ = false;
};

} // namespace

struct LineServer::Inner : std::enable_shared_from_this<LineServer::Inner> {
    /// Waits for connections at one listening socket.
    struct Poll : Handle<Poll, uv_poll_t> {
        Inner* server = nullptr; ///< null once another socket is listened at
    };

    Inner(EventLoop& loop_, const LineLimits& limits_, Accepted accepted_)
        : loop(loop_), limits(limits_), accepted(std::move(accepted_)), pause(loop_, [this] { resume(); }) {}

    void listen(int socket) {
        stopListening();
        const auto fresh = std::make_shared<Poll>();
        fresh->loop = &loop;
        if (const int error = uv_poll_init(loop.handle(), &fresh->handle, socket); error != 0)
            throwLoopError("listen", error);
        fresh->opened();
        fresh->server = this;
        poll = fresh;
        listening = socket;
        resume();
    }

    void stopListening() {
        if (!poll) return;
        poll->server = nullptr;
        poll->close();
        poll.reset();
    }

    void resume() {
        if (!poll) return;
        uv_poll_start(&poll->handle, UV_READABLE, [](uv_poll_t* readable, int, int) {
            if (Inner* const server = static_cast<Poll*>(readable->data)->server) server->acceptAll();
        });
    }

    /// Somebody waits to be accepted.
    void acceptAll() {
        if (connections.size() >= limits.peers) {
            uv_poll_stop(&poll->handle); // until one of them goes
            // Chosen only after the turn, when what the others have sent has been read.
            return loop.later([kept = shared_from_this()] { kept->makeRoom(); });
        }
        while (connections.size() < limits.peers) {
            FileDescriptor socket(::accept(listening, nullptr, nullptr));
            if (!socket) {
                if (errno == EINTR || errno == ECONNABORTED) continue;
                if (errno != EAGAIN && errno != EWOULDBLOCK) rest();
                return;
            }
            take(std::move(socket));
        }
    }

    /// Drops the peer that has been silent for longest, if there is one.
    void makeRoom() {
        if (connections.size() < limits.peers) return;
        const auto silent = std::ranges::find_if(
            connections, [](const auto& connection) { return !connection->hasSpoken(); });
        if (silent != connections.end()) (*silent)->drop();
    }

    void take(FileDescriptor socket) {
        ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
        const auto peer = Platform::peerProcess(socket.get());
        if (!peer || peer->user != ::geteuid()) return;
        const auto connection = std::make_shared<PipeConnection>(
            loop, limits, *peer, [this](PipeConnection* gone) { forget(gone); });
        connections.push_back(connection);
        // Called before anything that arrives is reported, so that the owner can set its handlers.
        loop.later([kept = shared_from_this(), connection] {
            if (kept->accepted && connection->isOpen()) kept->accepted(connection);
        });
        if (!connection->start(std::move(socket))) connection->close();
    }

    /// Out of descriptors or memory: accepts nothing for a second. The system's queue keeps who connects
    /// meanwhile.
    void rest() {
        uv_poll_stop(&poll->handle);
        pause.start(Timer::Seconds(1));
    }

    void forget(PipeConnection* gone) {
        std::erase_if(connections, [&](const auto& connection) { return connection.get() == gone; });
        if (!pause.isRunning()) resume();
    }

    EventLoop& loop;
    const LineLimits limits;
    Accepted accepted; ///< empty once the server is gone
    std::shared_ptr<Poll> poll;
    int listening = -1;
    std::vector<std::shared_ptr<PipeConnection>> connections; ///< the oldest first
    Timer pause;                                              ///< runs while nobody is accepted
};

LineServer::LineServer(EventLoop& loop, const LineLimits& limits, Accepted accepted)
    : inner_(std::make_shared<Inner>(loop, limits, std::move(accepted))) {}

LineServer::~LineServer() {
    inner_->accepted = {};
    inner_->pause.stop();
    inner_->stopListening();
    for (const auto& connection : std::exchange(inner_->connections, {}))
        connection->close();
}

void LineServer::listen(int listening) {
    inner_->listen(listening);
}

std::size_t LineServer::connectionCount() const {
    return inner_->connections.size();
}

} // namespace quorvik
