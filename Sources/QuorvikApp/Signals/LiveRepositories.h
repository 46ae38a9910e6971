#pragma once

#include "QuorvikApp/Model/IslandModel.h"

#include <map>
#include <set>
#include <string>

namespace quorvik {

/// Finds the repositories in which sessions live. Looking up a folder's repository takes up to a dozen calls
/// of the system, so what was found stands for half a minute; a folder may become a repository, and cease to
/// be one.
class LiveRepositories {
  public:
    /// The root folders of the repositories of the sessions that are alive, at most so many: those of the
    /// latest changed sessions.
    std::set<std::string> of(const SessionFolder& sessions, std::size_t most, Date now);

  private:
    std::map<std::string, std::string> roots_; ///< of working folders; empty: in none
    Date since_{};                             ///< when the first of them was looked up
};

} // namespace quorvik
