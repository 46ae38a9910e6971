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
        std::string about; ///< the key of an item, or the id of a request; empty: the app itself
        std::string text;  ///< one line
    };

    static constexpr std::size_t longest = 1000; ///< entries

    void note(Date when, std::string about, std::string text);

    /// The entries about one thing, oldest first; all entries when `about` is empty.
    std::vector<const Entry*> entries(std::string_view about) const;

  private:
    std::deque<Entry> entries_;
};

} // namespace quorvik
