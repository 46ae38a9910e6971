#pragma once

#include <map>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// The command line does not make sense; what() says where, in one line.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The words of a command line, sorted: options may stand anywhere, values follow as the next word or after
/// "=", and "--" ends the options.
struct Arguments {
    std::vector<std::string> words; ///< those that are no options
    std::set<std::string, std::less<>> flags;
    std::map<std::string, std::string, std::less<>> values; ///< of the options with one; the last counts

    bool has(std::string_view flag) const { return flags.contains(flag); }

    /// Throws UsageError when there are more words: "show: unexpected argument now".
    void expectAtMost(std::size_t count, std::string_view command) const;

    /// Throws UsageError for an option that is in neither list (both with their dashes), and for a value that
    /// is missing, empty or not wanted. "--help" and "-h" are always known, and make the flag "--help".
    static Arguments parse(std::span<const std::string> commandLine, std::span<const std::string_view> flags,
                           std::span<const std::string_view> valueOptions);
};

} // namespace quorvik
