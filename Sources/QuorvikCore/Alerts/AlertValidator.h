#pragma once

#include "QuorvikCore/Alerts/AlertRequest.h"

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvik {

/// Why an alert is refused; what() is shown to the user as it stands.
class AlertRejection : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Turns what a caller wrote (command-line options, or a link) into an AlertRequest, or throws
/// AlertRejection. Texts that are not UTF-8 are repaired first. `home` is the user's home folder.
namespace AlertValidator {

inline constexpr std::size_t maxTitle = 16;   ///< characters: the island's width
inline constexpr std::size_t maxBody = 80;    ///< characters
inline constexpr std::size_t maxID = 64;      ///< characters
inline constexpr std::int64_t maxTTL = 86400; ///< seconds

/// The fields as they were written, absent when they were not. A later mention of a field replaces an earlier
/// one.
struct RawFields {
    std::optional<std::string> title, body, level, open, id, ttl;

    /// The field of that name (case-sensitive); null when there is none.
    std::optional<std::string>* named(std::string_view name);
};

/// From the words after "alert": "--name value" or "--name=value". Throws, besides the messages of
/// make(RawFields): "unexpected argument <word>", "--<name> needs a value", "unknown option --<name>".
AlertRequest make(std::span<const std::string> arguments, std::string_view home);

/// From a link "quorvik://alert?title=…&body=…", percent-encoded; scheme and host in any case. Throws,
/// besides the messages of make(RawFields): "not a quorvik://alert link", "unknown parameter <name>".
AlertRequest make(std::string_view url, std::string_view home);

/// Checks in the order title, body, level, ttl, id, open and stops at the first failure:
/// "title is required (1 to 16 characters)", "title is longer than 16 characters", "body is longer than 80
/// characters", "level must be info, action or fail", "ttl must be 0 to 86400 seconds", "id must be 1 to 64
/// letters, digits or . _ : -", or what openPath() throws.
AlertRequest make(const RawFields& fields, std::string_view home);

/// A local path, or a file URL, below the home folder or /tmp, without trailing slashes. Symbolic links are
/// not resolved, and nothing need exist there. Throws "open is not a local file URL", "open must be a local
/// path, not a URL", "open must be an absolute path", "open must not contain ..", "open must be under your
/// home folder or /tmp".
std::string openPath(std::string_view raw, std::string_view home);

/// Every control character and line break turned into a space, then trimmed of white space.
std::string plain(std::string_view text);

} // namespace AlertValidator

} // namespace quorvik
