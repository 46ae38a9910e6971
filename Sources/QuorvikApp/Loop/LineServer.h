#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include "QuorvikCore/Platform/PeerProcess.h"

#include <cstddef>
#include <memory>
#include <string>

namespace quorvik {

/// Limits for each peer of a server, so that none can cost it much.
struct LineLimits {
    std::size_t lineBytes;    ///< a line, without its line feed, must be shorter
    std::size_t outputBytes;  ///< of lines waiting to be taken; a peer with more is dropped
    std::size_t peers;        ///< at once; a further one takes the place of the oldest that has sent no line
                              ///< yet, or waits in the system's queue
    Timer::Seconds firstLine; ///< within which a peer must have sent a line
    Timer::Seconds stalled;   ///< a peer that takes nothing for so long is dropped
};

/// The connection to one program of the same user, and the lines that are sent both ways. Shared by the
/// server and its owner. Once it is closed, by either side, no handler is called any more, and what is sent
/// is discarded.
class LineConnection : public std::enable_shared_from_this<LineConnection> {
  public:
    using Text = std::shared_ptr<const std::string>;

    /// Called for each line that came, without its line feed.
    std::function<void(std::string line)> onLine;

    /// Called when the other side closed the connection, broke a limit or stopped reading; not after close().
    EventLoop::Handler onClosed;

    virtual ~LineConnection() = default;

    /// Sends a line. `sent`, when given, is told whether the system has taken all of it. It is called once,
    /// never before this returns, also when the connection ends before.
    virtual void send(std::string line, std::function<void(bool)> sent = {}) = 0;

    /// Sends a line that makes earlier ones of this function worthless: one that still waits is replaced. The
    /// text may be shared between connections.
    virtual void sendLatest(Text line) = 0;

    /// close() closes now; closeWhenSent() closes once every line has been taken.
    virtual void close() = 0;
    virtual void closeWhenSent() = 0;

    /// Announces a line that will be sent later. Until the token has gone, the connection stays open for it,
    /// though the other side may have stopped sending, and though closeWhenSent() was called.
    virtual std::shared_ptr<void> promise() = 0;

    virtual bool isOpen() const = 0;
    virtual const Platform::PeerProcess& peer() const = 0;
};

/// Accepts connections at a listening socket. Connections of other users' programs are closed unread. When
/// the process is out of descriptors, it pauses for a second, and nobody is turned away.
class LineServer {
  public:
    using Accepted = std::function<void(std::shared_ptr<LineConnection>)>;

    LineServer(EventLoop& loop, const LineLimits& limits, Accepted accepted);
    ~LineServer(); ///< closes all connections
    LineServer(const LineServer&) = delete;
    LineServer& operator=(const LineServer&) = delete;

    /// Accepts at this listening socket (non-blocking, and still owned by the caller) from now on, and no
    /// longer at an earlier one. Connections stay. Throws LoopError.
    void listen(int listening);

    std::size_t connectionCount() const;

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

} // namespace quorvik
