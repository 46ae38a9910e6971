// A 200-character command line: the first call of a process, in which patterns are compiled, and the
// following ones.

#include "Benchmarks/Measure.h"

#include "QuorvikCore/Text/Redactor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace {

std::string padded(std::string text) {
    while (text.size() < 200)
        text += " src/some/file.cpp";
    text.resize(200);
    return text;
}

void measure(const char* what, const std::string& text) {
    std::size_t sink = 0;
    std::vector<double> firstCalls;
    for (int round = 0; round < 31; ++round) {
        int ends[2];
        if (::pipe(ends) != 0) return;
        if (::fork() == 0) { // a process in which nothing is compiled yet
            const double first =
                quorvik::bench::seconds([&] { sink += quorvik::Redactor::redact(text).size(); });
            [[maybe_unused]] const auto count = ::write(ends[1], &first, sizeof first);
            ::_exit(0);
        }
        double first = 0;
        [[maybe_unused]] const auto count = ::read(ends[0], &first, sizeof first);
        ::close(ends[0]);
        ::close(ends[1]);
        ::wait(nullptr);
        firstCalls.push_back(first);
    }
    constexpr int calls = 20'000;
    quorvik::Redactor::redact(text);
    const double warm = quorvik::bench::seconds([&] {
        for (int call = 0; call < calls; ++call)
            sink += quorvik::Redactor::redact(text).size();
    });
    std::printf("redact, 200 characters, %-36s %6.1f us cold, %5.2f us warm\n", what,
                quorvik::bench::median(firstCalls) * 1e6, warm / calls * 1e6);
    if (sink == 0) std::printf("?\n");
}

} // namespace

int main() {
    measure("no option, no assignment:", padded("make all"));
    measure("options and an assignment:", padded("CC=gcc make -j8 --directory build"));
    measure("every rule at work:", padded("curl -H 'Authorization: Bearer abc' --token x API=1 bearer y "
                                          "sk-abcdef0123 3f786850e387550fdab836ed7e6dc88"));
}
