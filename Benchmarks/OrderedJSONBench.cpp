// How long reading and printing a user's settings file takes, against nlohmann::ordered_json on the same 1 MB
// document. Prints one line; a ratio below 1 means that ours is the faster.

#include "QuorvikCore/JSON/OrderedJSON.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

using namespace quorvik;

namespace {

std::string settingsDocument(std::size_t size) {
    const std::string project = R"json(    {
      "path": "/Users/somebody/Projects/some-project",
      "enabled": true,
      "timeout": 30,
      "ratio": 0.75,
      "theme": null,
      "hooks": {
        "Stop": [
          {
            "matcher": "",
            "command": "\"$HOME/bin/notify\" --text 'déjà vu'\n",
            "allow": ["Bash(git status)", "Bash(ls:*)", "Read"]
          }
        ],
        "SessionStart": []
      }
    })json";
    std::string text = "{\n  \"model\": \"opus\",\n  \"projects\": [\n" + project;
    while (text.size() < size)
        text += ",\n" + project;
    return text + "\n  ]\n}\n";
}

template <typename Work>
double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main() {
    const std::string document = settingsDocument(1'000'000);
    const bool samePrint = OrderedJSON::serialize(OrderedJSON::parse(document)) ==
                           nlohmann::ordered_json::parse(document).dump(2);
    if (!samePrint) {
        std::fprintf(stderr, "The two printers disagree, so their times cannot be compared.\n");
        return 1;
    }

    // In turns, so that whatever else the machine does falls on both; the best of each is the least
    // disturbed.
    std::size_t printed = 0;
    double ours = 1e9;
    double theirs = 1e9;
    for (int round = 0; round < 40; ++round) {
        ours = std::min(
            ours, secondsOf([&] { printed += OrderedJSON::serialize(OrderedJSON::parse(document)).size(); }));
        theirs = std::min(
            theirs, secondsOf([&] { printed += nlohmann::ordered_json::parse(document).dump(2).size(); }));
    }
    std::printf("OrderedJSON parse + print of %zu kB: %.2f ms, nlohmann::ordered_json %.2f ms, ratio %.2f\n",
                document.size() / 1000, ours * 1e3, theirs * 1e3, ours / theirs);
    return printed == 0;
}
