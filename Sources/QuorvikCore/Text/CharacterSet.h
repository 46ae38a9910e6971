#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace quorvik {

/// A set of ASCII characters, made when the program is compiled and asked with one look into a table. Written
/// as in a bracket expression: "A-Za-z_-" (a hyphen that stands for itself comes last).
class CharacterSet {
  public:
    consteval explicit CharacterSet(std::string_view ranges) {
        for (std::size_t index = 0; index < ranges.size(); ++index) {
            const bool isRange = index + 2 < ranges.size() && ranges[index + 1] == '-';
            const char last = isRange ? ranges[index + 2] : ranges[index];
            for (char byte = ranges[index]; byte <= last; ++byte)
                members_[static_cast<unsigned char>(byte)] = true;
            if (isRange) index += 2;
        }
    }

    /// All of ASCII but these characters, which are not read as ranges.
    static consteval CharacterSet allBut(std::string_view excluded) {
        CharacterSet set("");
        for (unsigned char byte = 0; byte < 0x80; ++byte)
            set.members_[byte] = excluded.find(static_cast<char>(byte)) == excluded.npos;
        return set;
    }

    constexpr bool contains(char byte) const { return members_[static_cast<unsigned char>(byte)]; }

    /// The end of the run of members that begins at `start`, which is at most the text's length. At most
    /// `limit` characters are looked at.
    std::size_t endOfRun(std::string_view text, std::size_t start,
                         std::size_t limit = std::string_view::npos) const {
        const std::size_t end = limit < text.size() - start ? start + limit : text.size();
        while (start < end && contains(text[start]))
            ++start;
        return start;
    }

  private:
    std::array<bool, 256> members_{};
};

} // namespace quorvik
