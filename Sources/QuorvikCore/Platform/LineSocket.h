#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <variant>

namespace quorvik {

/// A stream socket, close-on-exec, connected to the program of the same user that listens at the path; it
/// never raises SIGPIPE where the system can be told so. Empty when that fails; `error` then is the system's
/// error number: ENOENT or ECONNREFUSED when nobody listens (also the latter on macOS when the listener's
/// queue is full), EAGAIN when it took nobody within the limit, ENAMETOOLONG, and EPERM for another user's
/// program.
FileDescriptor connectedSocket(const std::string& path, std::chrono::duration<double> limit, int& error);

/// One connection to a program of the same user that listens on a Unix domain stream socket and speaks in
/// lines: text ended by a line feed. Blocking, with limits; never raises SIGPIPE; never throws.
class LineSocket {
  public:
    using Seconds = std::chrono::duration<double>;

    enum class ConnectFailure {
        noSocket,    ///< the system has no socket to give
        pathTooLong, ///< longer than maxPathBytes with its terminating NUL
        notListening ///< nobody there, no answer within the limit, or another user's program
    };

    enum class ReadFailure {
        timedOut, ///< the deadline passed, or the silence was too long
        closed,   ///< the other side closed (or broke) the connection before its line was complete
        tooLong,  ///< the limit was reached without a line feed
        unwanted, ///< the caller no longer wants the line
        failed    ///< the wait itself failed
    };

    /// Bounds of one receiveLine().
    struct ReadLimits {
        std::size_t lineBytes;  ///< give up once so many are there without a line feed
        std::size_t chunkBytes; ///< most bytes taken by one read
        std::chrono::milliseconds silence{maxMilliseconds}; ///< give up when nothing comes for so long
    };

    /// Bytes of a socket path with its NUL: what macOS's sockaddr_un holds, kept on every system so that both
    /// sides agree on the same path everywhere.
    static constexpr std::size_t maxPathBytes = 104;

    /// Connects, then makes sure that the listener runs as this user: the socket may stand in /tmp, where
    /// anybody could have put it. `limit` bounds the wait for a listener whose queue is full.
    static std::variant<LineSocket, ConnectFailure> connect(const std::string& path, Seconds limit);

    /// Sends the line and its line feed with one write. False unless all of it was taken.
    bool sendLine(std::string_view line);

    /// The first line the other side sends, without its line feed; whatever follows is dropped. Waits until
    /// `timeout` from now at most; time asleep (see AwakeClock) does not count. `stillWanted`, when given, is
    /// asked before every wait, at least four times a second and after every signal: the first false ends the
    /// matter.
    std::variant<std::string, ReadFailure> receiveLine(Seconds timeout, const ReadLimits& limits,
                                                       const std::function<bool()>& stillWanted = {});

  private:
    static constexpr int maxMilliseconds = 2'147'483'647;

    explicit LineSocket(FileDescriptor socket) : socket_(std::move(socket)) {}
    FileDescriptor socket_;
};

} // namespace quorvik
