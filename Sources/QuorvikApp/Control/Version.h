#pragma once

#include <string>
#include <string_view>

/// The running program's place, and the order of versions. Which version it is, BuildInfo tells.
namespace quorvik::Version {

/// The path of the running program, for people; "quorvik-island" when the system does not tell.
std::string program();

/// Whether version `first` is older than `second`, number by number; texts that are no versions are older
/// than any.
bool isOlder(std::string_view first, std::string_view second);

} // namespace quorvik::Version
