#pragma once

#include "quorvik_island/CommandLine/CommandTable.h"

#include <map>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
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

    /// Every mention of the options whose order counts (OptionRow::isRepeated), with its value; a flag's is
    /// empty.
    std::vector<std::pair<std::string, std::string>> mentions;

    bool has(std::string_view flag) const { return flags.contains(flag); }

    /// The value of an option; null when it was not given.
    const std::string* value(std::string_view option) const;

    /// Throws UsageError for an option that is not of the command, naming the nearest one ("unknown option
    /// --jsn, did you mean --json?"), and for a value that is missing, empty or not wanted. Also, unless
    /// "--help" ("-h" is the same) or "--version" is there: for more words than the command takes ("show:
    /// unexpected argument now"), for one that is none of the fixed words ("hooks: unknown action instal, did
    /// you mean install?"), and for a first one that is missing where it is a fixed word ("hooks: say status,
    /// install or uninstall").
    static Arguments parse(const CommandRow& command, std::span<const std::string> commandLine);
};

} // namespace quorvik
