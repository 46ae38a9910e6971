#include "QuorvikCore/Activity/BuildLogs.h"

#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace quorvik::BuildLogs {

std::filesystem::path logURL(std::string_view id) {
    return QuorvikPaths::logsDirectory() / (std::string(id) + ".log");
}

void prune(int days, int maxFiles) {
    struct Log {
        std::string name;
        double modified; // nanoseconds since 1970; the infinite past when unknown
    };
    const auto folder = QuorvikPaths::logsDirectory();
    auto listing = Files::Folder::open(folder);
    if (!listing) return;
    std::vector<Log> logs;
    while (const char* name = listing->next()) {
        if (std::filesystem::path(name).extension() != ".log") continue;
        const auto status = listing->status(name);
        logs.push_back({name, status ? static_cast<double>(status->modified)
                                     : -std::numeric_limits<double>::infinity()});
    }
    std::ranges::stable_sort(logs, std::ranges::greater(), &Log::modified);

    using namespace std::chrono;
    using Days = duration<double, std::ratio<86400>>; // an integer could not hold any number of days
    const duration<double, std::nano> cutOff = system_clock::now().time_since_epoch() - Days(days);
    for (std::size_t index = 0; index < logs.size(); ++index) {
        std::error_code ignored;
        if (index >= static_cast<std::size_t>(std::max(maxFiles, 0)) || logs[index].modified < cutOff.count())
            std::filesystem::remove(folder / logs[index].name, ignored);
    }
}

} // namespace quorvik::BuildLogs
