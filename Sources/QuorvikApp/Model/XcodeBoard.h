#pragma once

#include "QuorvikCore/Activity/XcodeLogs.h"
#include "QuorvikCore/Session/SessionRecord.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace quorvik {

/// Xcode's builds and test runs as items of the island: one for each scheme and kind, the newest run.
class XcodeBoard {
  public:
    /// A run that succeeded in less time is not worth an item.
    static constexpr std::chrono::duration<double> shortest{10};

    /// What the manifests of a project hold now. What they hold at the first look is no news.
    void look(const std::string& project, const std::vector<XcodeActivity>& activities, Date now);

    /// The items, the newest last; at most 20.
    std::vector<std::shared_ptr<const SessionRecord>> records() const { return records_; }

  private:
    std::map<std::string, std::set<std::string>> seen_; ///< ids of activities, by project
    std::vector<std::shared_ptr<const SessionRecord>> records_;
};

} // namespace quorvik
