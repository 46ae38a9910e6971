#include "QuorvikCore/Usage/UsageSources.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Usage/AccountUsage.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"

#include <algorithm>

namespace quorvik {

UsageSources::UsageSources() : codex_(QuorvikPaths::codexRollouts()) {}

std::vector<UsageFigure> UsageSources::read() {
    std::vector<UsageFigure> newest;
    const auto take = [&](std::vector<UsageFigure> figures) {
        for (UsageFigure& figure : figures) {
            const auto known = std::ranges::find_if(
                newest, [&](const UsageFigure& other) { return other.window.id == figure.window.id; });
            if (known == newest.end())
                newest.push_back(std::move(figure));
            else if (known->toldAt < figure.toldAt)
                *known = std::move(figure);
        }
    };
    take(ClaudeUsage::read());
    take(codex_.read());
    for (const Source agent : agentSources())
        if (AccountUsage::knows(agent)) take(UsageFigures::read(AccountUsage::file(agent)));
    return newest;
}

std::vector<std::filesystem::path> UsageSources::folders() const {
    return {QuorvikPaths::usageDirectory(), codex_.newestFolder()};
}

} // namespace quorvik
