#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// A TCP port that a process listens on.
struct ListeningSocket {
    pid_t pid = 0;
    std::string
        command; ///< the process's name, the last one listed before it; may be cut short; empty without one
    std::int64_t port = 0;

    bool operator==(const ListeningSocket&) const = default;
};

/// Finds the development servers among everything that listens on a developer's machine.
namespace DevServerDiscovery {

/// The sockets in the output of `lsof -nP -iTCP -sTCP:LISTEN -F pcn`, in its order. Each line is one field,
/// named by its first letter: "p" is a process number and begins a process, "c" is the process's name, "n" is
/// a socket ("*:3000", "[::1]:3000"). A port that is listed again is left out. Lines of another form, and
/// sockets without a valid process number before them, are passed over.
std::vector<ListeningSocket> parse(std::string_view output);

/// Whether the socket is a development server's: a port from 1024, a process that is none of the well-known
/// programs, databases and model servers included (their names are looked for anywhere in the command, in any
/// ASCII case), working in a project below `home` (ProjectRoot::find) and not below its Library.
/// `workingDirectory` is the process's (ProcessInspector); absent when unknown.
///
/// Asks the file system only about what passed everything else, and allocates nothing before that.
bool isDevServer(const ListeningSocket& socket, const std::optional<std::string>& workingDirectory,
                 const std::string& home);

} // namespace DevServerDiscovery

} // namespace quorvik
