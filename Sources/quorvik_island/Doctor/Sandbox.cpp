#include "quorvik_island/Doctor/Sandbox.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace quorvik::Doctor {

namespace {

constexpr std::size_t mostOutput = 64 << 10; // bytes

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

} // namespace

ChildProcess::Result run(const std::vector<std::string>& words, std::chrono::duration<double> time) {
    EventLoop loop;
    ChildProcess::Result result;
    const ChildProcess process(loop, words, {time, mostOutput}, [&](ChildProcess::Result end) {
        result = std::move(end);
        loop.stop();
    });
    loop.run();
    return result;
}

std::optional<std::string> versionOf(const std::string& program, std::chrono::duration<double> time,
                                     std::string* why) {
    const auto result = run({program, "--version"}, time);
    const std::string& output = result.output;
    for (std::size_t start = 0; result.isSuccess() && start < output.size();) {
        const std::size_t end = std::min(output.find_first_of(" \t\r\n,;()", start), output.size());
        std::string word = output.substr(start, end - start);
        if (word.starts_with('v')) word.erase(0, 1);
        const std::size_t dot = word.find_first_not_of("0123456789");
        if (dot > 0 && dot + 1 < word.size() && word[dot] == '.' && isDigit(word[dot + 1])) {
            if (word.ends_with('.')) word.pop_back(); // the end of a sentence
            return word;
        }
        start = end + 1;
    }
    if (why) *why = result.failure.empty() ? "does not tell its version" : result.failure;
    return std::nullopt;
}

TemporarySupport::TemporarySupport() {
    std::string name = Platform::environmentValue("TMPDIR");
    if (name.empty()) name = "/tmp";
    name += "/quorvik-doctor-XXXXXX";
    if (!::mkdtemp(name.data())) throw FileError("create", name, errno);
    folder_ = name;
}

TemporarySupport::~TemporarySupport() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::filesystem::path TemporarySupport::write(std::string_view name, std::string_view content) const {
    const auto path = folder_ / name;
    Files::replace(path, content, path.native() + ".tmp", 0600);
    return path;
}

} // namespace quorvik::Doctor
