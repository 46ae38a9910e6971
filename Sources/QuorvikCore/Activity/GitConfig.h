#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// The settings in one file of git's ("config" of a repository), as git-config(1) describes the syntax.
class GitConfig {
  public:
    /// Reads the text as far as it is well formed; git refuses the rest, so what stands there does not count.
    /// Takes one pass over the text.
    explicit GitConfig(std::string_view text);

    /// The last value of `key` in the section, or of `section "subsection"`. Names of sections and keys are
    /// the same in either case, subsections are not. A key without "=" is "true". Absent when it is not set.
    std::optional<std::string> value(std::string_view section, std::optional<std::string_view> subsection,
                                     std::string_view key) const;

    /// All its values, in the order of the file.
    std::vector<std::string> values(std::string_view section, std::optional<std::string_view> subsection,
                                    std::string_view key) const;

    /// Whether other files belong to it ("include", "includeIf"): then only git knows all settings.
    bool includesOthers() const;

  private:
    struct Entry {
        std::string section; ///< lower case
        std::optional<std::string> subsection;
        std::string key; ///< lower case
        std::string value;
    };
    std::vector<Entry> entries_;
};

} // namespace quorvik
