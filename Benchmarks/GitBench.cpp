#include "Benchmarks/Measure.h"

#include "QuorvikCore/Activity/GitChanges.h"
#include "QuorvikCore/Activity/GitRepository.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <algorithm>
#include <cstdio>
#include <string>

using namespace quorvik;

namespace {

/// A difference of one file, of so many bytes.
std::string difference(std::size_t bytes) {
    std::string text = "diff --git a/file b/file\nindex 1111111..2222222 100644\n--- a/file\n+++ b/file\n";
    for (std::size_t line = 1; text.size() < bytes; line += 2) {
        const std::string at = std::to_string(line);
        text += "@@ -" + at + ",2 +" + at + ",2 @@\n-as it was before\n+as it is now\n the line between\n";
    }
    return text;
}

} // namespace

/// `GitBench <repository>`: one with very many refs and commits, whose files are in the memory.
int main(int argc, char** argv) {
    if (argc != 2) return 3;
    const std::string root = argv[1];
    const auto repository = GitRepository::at(root);
    if (!repository || !repository->read()) return 1;
    std::size_t sink = 0;
    const auto snapshot = [&] { sink += repository->read()->snapshot.head.value_or("").size(); };
    const auto bare = [&] {
        constexpr std::size_t most = 64 << 20;
        for (const char* name :
             {"HEAD", "config", "packed-refs", "logs/HEAD", "refs/stash", "refs/heads/main"})
            sink += Files::read(repository->gitFolder() / name, most).value_or("").size();
    };
    const auto status = [&] {
        sink += Platform::programOutput({"git", "-C", root, "status", "--porcelain"}, 1 << 20)->size();
    };
    bench::compare("a snapshot of 20,000 refs (limit: 3)", 51, snapshot, "reading its files bare", bare);
    bench::compare("the same (limit: 0.1)", 21, snapshot, "git status", status);

    const std::string small = difference(10 << 20), large = difference(100 << 20);
    const auto parsed = [&](const std::string& text) { sink += GitChanges::parseDiff(text)->size(); };
    bench::compare(
        "a difference of 100 MB", 5, [&] { parsed(large); }, "one of 10 MB", [&] { parsed(small); });
    bench::compare(
        "the same", 5, [&] { parsed(large); }, "counting its lines",
        [&] { sink += static_cast<std::size_t>(std::ranges::count(large, '\n')); });
    if (sink == 0) std::printf("?\n");
}
