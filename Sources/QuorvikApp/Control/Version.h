#pragma once

#include <string>
#include <string_view>

/// The version of this program, and the order of versions.
namespace quorvik::Version {

/// "0.1.0".
std::string_view text();

/// The path of the running program, for people; "quorvik-island" when the system does not tell.
std::string program();

/// Whether version `first` is older than `second`, number by number; texts that are no versions are older
/// than any.
bool isOlder(std::string_view first, std::string_view second);

} // namespace quorvik::Version
