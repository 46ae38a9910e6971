#include "QuorvikCore/Usage/UsageSources.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"

namespace quorvik {

UsageSources::UsageSources() : codex_(QuorvikPaths::codexRollouts()) {}

std::vector<UsageFigure> UsageSources::read() {
    std::vector<UsageFigure> figures = ClaudeUsage::read();
    for (UsageFigure& figure : codex_.read())
        figures.push_back(std::move(figure));
    return figures;
}

std::vector<std::filesystem::path> UsageSources::folders() const {
    return {QuorvikPaths::usageDirectory(), codex_.newestFolder()};
}

} // namespace quorvik
