#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// The last thousand things that happened, in words.
class Journal {
  public:
    struct Entry {
        Date when{};
        std::string about;   ///< the key of an item; empty: the app itself
        std::string request; ///< the id of the request that it is about as well; else empty
        std::string text;    ///< one line
    };

    static constexpr std::size_t longest = 1000; ///< entries

    void note(Date when, std::string about, std::string text, std::string_view request = {});

    /// Notes an alert. Alerts that come in a row are one entry, so that a flood of them leaves the others.
    void noteAlert(Date when, const std::string& about, const std::string& title);

    /// The entries about one item or request, oldest first; all entries when `about` is empty.
    std::vector<const Entry*> entries(std::string_view about) const;

  private:
    std::size_t alertsInARow_ = 0; ///< that the last entry stands for
    std::deque<Entry> entries_;
};

} // namespace quorvik
