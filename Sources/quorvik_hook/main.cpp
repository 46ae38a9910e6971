#include "quorvik_hook/AgentEvent.h"
#include "quorvik_hook/StatusLine.h"

#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/Files.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace quorvik {

namespace {

/// Bytes; agents send a written file's content two or three times, nobody sends this much.
constexpr std::size_t maxPayload = 256u << 20;

struct Options {
    bool statusLine = false;
    std::optional<Source> agent;
    std::int32_t startedBy = ::getppid();
};

Options parse(const std::vector<std::string_view>& words) {
    Options options;
    options.statusLine = std::ranges::find(words, "--statusline") != words.end();
    for (std::size_t index = 0; index + 1 < words.size(); ++index) {
        const std::string_view value = words[index + 1];
        if (words[index] == "--source") options.agent = fromRawValue<Source>(value);
        if (words[index] == "--ppid") {
            std::int32_t pid = 0;
            const auto parsed = std::from_chars(value.data(), value.data() + value.size(), pid);
            if (parsed.ec == std::errc() && pid > 1) options.startedBy = pid;
        }
    }
    return options;
}

bool print(const std::string& reply) {
    return writeAll(STDOUT_FILENO, reply.data(), reply.size());
}

void run(const std::vector<std::string_view>& words) {
    if (words.size() == 1 && words.front() == "--version") { // no agent says only that
        BuildInfo::print("quorvik-hook");
        return;
    }
    const Options options = parse(words);
    if (options.statusLine) return StatusLine::run();
    if (!options.agent || !isAgent(*options.agent)) return;
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is an error of one write
    if (const auto payload = Files::readStream(STDIN_FILENO, maxPayload))
        AgentEvent::handle(payload->text(), *options.agent, options.startedBy, print);
}

} // namespace

} // namespace quorvik

/// Run by agents before and after every tool call. Whatever happens, the agent finds exit status 0 and no
/// output but a reply that it asked for.
int main(int argc, char** argv) {
    quorvik::occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTERM,
                [](int) { std::_Exit(0); }); // the agent's time-out: it asks, or draws, by itself now
    try {
        quorvik::run(std::vector<std::string_view>(argv + std::min(argc, 1), argv + argc));
    } catch (const std::exception&) {
        // Out of memory, or a store that fails: the agent must not suffer from it.
    }
    std::_Exit(0);
}
