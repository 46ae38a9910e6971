#include "QuorvikApp/Model/Journal.h"

namespace quorvik {

void Journal::note(Date when, std::string about, std::string text, std::string_view request) {
    alertsInARow_ = 0;
    if (entries_.size() == longest) entries_.pop_front();
    constexpr std::size_t longestText = 500; // bytes; what is noted may come from anybody
    if (about.size() > longestText) about.resize(longestText);
    if (text.size() > longestText) text.resize(longestText);
    entries_.push_back(
        {when, std::move(about), std::string(request.substr(0, longestText)), std::move(text)});
}

void Journal::noteAlert(Date when, const std::string& about, const std::string& title) {
    const std::size_t count = alertsInARow_ + 1;
    if (count > 1) entries_.pop_back();
    note(when, about,
         count == 1 ? "came as an alert: " + title
                    : "came as the last of " + std::to_string(count) + " alerts in a row: " + title);
    alertsInARow_ = count;
}

std::vector<const Journal::Entry*> Journal::entries(std::string_view about) const {
    std::vector<const Entry*> found;
    for (const Entry& entry : entries_)
        if (about.empty() || entry.about == about || entry.request == about) found.push_back(&entry);
    return found;
}

} // namespace quorvik
