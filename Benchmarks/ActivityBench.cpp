// What is passed over: the changes and sockets of a busy machine that are not git's nor a dev server's. A
// pass must allocate nothing: the watcher reports every change in the user's home folder.

#include "Benchmarks/Measure.h"

#include "QuorvikCore/Activity/DevServerDiscovery.h"
#include "QuorvikCore/Activity/GitActivity.h"

#include <cstdlib>
#include <new>
#include <string>

namespace {
std::size_t allocations = 0;
}

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

int main() {
    using namespace quorvik;
    const std::string home = "/Users/somebody";
    const std::string paths[] = {home + "/code/app/node_modules/left-pad/dist/index.js",
                                 home + "/code/app/.git/objects/ab/cdef0123456789abcdef0123456789abcdef01",
                                 home + "/code/app/.git/index.lock",
                                 home + "/.cache/a-rather-long-name/repository/.git/refs/heads/main",
                                 home + "/code/app/node_modules/left-pad/.git/HEAD",
                                 home + "/Library/Application Support/Some Program/state.sqlite-wal",
                                 "/private/var/folders/zz/zyxvpxvq6csfxvn_n0000000000000/T/x"};
    const std::optional<std::string> folder = home + "/Library/somewhere/deep/below";
    const ListeningSocket sockets[] = {
        {1, "node", 80}, {2, "", 3000}, {3, "postgres", 5432}, {4, "rails", 3000}};

    constexpr int passes = 100'000;
    std::size_t sink = 0;
    const auto measure = [&](const char* what, const auto& inputs, auto accepts, auto copy) {
        const std::size_t before = allocations;
        std::size_t accepted = 0;
        for (const auto& input : inputs)
            accepted += accepts(input);
        if (accepted > 0 || allocations != before) std::abort();
        const auto repeated = [&](auto work) {
            return [&inputs, work] {
                for (int pass = 0; pass < passes; ++pass)
                    for (const auto& input : inputs)
                        work(input);
            };
        };
        bench::compare(what, 11, repeated([&](const auto& input) { sink += accepts(input); }), "copying each",
                       repeated([&](const auto& input) { sink += copy(input); }));
    };
    measure(
        "git: 700,000 changed files passed over", paths,
        [&](const std::string& path) { return GitActivity::repoRoot(path, home).has_value(); },
        [](const std::string& path) { return std::string(path).size(); });
    measure(
        "dev servers: 400,000 sockets passed over", sockets,
        [&](const ListeningSocket& socket) { return DevServerDiscovery::isDevServer(socket, folder, home); },
        [](const ListeningSocket& socket) { return ListeningSocket(socket).command.size(); });
    if (sink == 0) std::printf("?\n");
}
