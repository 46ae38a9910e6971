#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include "QuorvikCore/Platform/PeerProcess.h"

#include <cstddef>
#include <memory>
#include <string>

namespace quorvik {

/// Bounds of what one server's peers may cost.
struct LineLimits {
    std::size_t lineBytes;    ///< a line, without its line feed, must be shorter
    std::size_t outputBytes;  ///< of lines that a peer does not take; above that it is dropped
    std::size_t peers;        ///< at once; further ones wait in the system's queue
    Timer::Seconds firstLine; ///< within which a peer must have sent a line
    Timer::Seconds stalled;   ///< a peer that takes nothing for so long is dropped
};

/// One program of the same user at the other end of a socket, and the lines that go to and fro. Shared by the
/// server and whoever keeps it. Once it is closed, by either side, nothing is reported any more and what is
/// sent goes nowhere.
class LineConnection : public std::enable_shared_from_this<LineConnection> {
  public:
    using Text = std::shared_ptr<const std::string>;

    /// A line came, without its line feed.
    std::function<void(std::string line)> onLine;

    /// The other side closed the connection, broke a limit or stopped reading. Not after close().
    EventLoop::Handler onClosed;

    virtual ~LineConnection() = default;

    /// Sends a line. `sent`, when given, learns whether the system has taken it all; it is called after this
    /// turn, also when the connection ends before.
    virtual void send(std::string line, std::function<void(bool)> sent = {}) = 0;

    /// Sends a line that makes earlier ones of this kind worthless: one that is still waiting is replaced.
    /// The text is shared between connections.
    virtual void sendLatest(Text line) = 0;

    /// Closes now, or once everything has been taken.
    virtual void close() = 0;
    virtual void closeWhenSent() = 0;

    virtual bool isOpen() const = 0;
    virtual const Platform::PeerProcess& peer() const = 0;
};

/// Accepts connections at a listening socket. Programs of other users are closed unread. When the process is
/// out of descriptors it waits a second instead of hanging up on anybody.
class LineServer {
  public:
    using Accepted = std::function<void(std::shared_ptr<LineConnection>)>;

    LineServer(EventLoop& loop, const LineLimits& limits, Accepted accepted);
    ~LineServer(); ///< closes all connections
    LineServer(const LineServer&) = delete;
    LineServer& operator=(const LineServer&) = delete;

    /// Accepts at this listening socket (non-blocking), which stays its owner's, from now on, and no longer
    /// at an earlier one. Whoever is connected stays so. Throws LoopError.
    void listen(int listening);

    std::size_t connectionCount() const;

  private:
    struct Inner;
    std::shared_ptr<Inner> inner_;
};

} // namespace quorvik
