#include "QuorvikApp/Model/Journal.h"

namespace quorvik {

void Journal::note(Date when, std::string about, std::string text) {
    if (entries_.size() == longest) entries_.pop_front();
    constexpr std::size_t longestText = 500; // bytes; what is noted may come from anybody
    if (about.size() > longestText) about.resize(longestText);
    if (text.size() > longestText) text.resize(longestText);
    entries_.push_back({when, std::move(about), std::move(text)});
}

std::vector<const Journal::Entry*> Journal::entries(std::string_view about) const {
    std::vector<const Entry*> found;
    for (const Entry& entry : entries_)
        if (about.empty() || entry.about == about) found.push_back(&entry);
    return found;
}

} // namespace quorvik
