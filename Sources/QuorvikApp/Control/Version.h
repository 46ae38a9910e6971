#pragma once

#include <string>
#include <string_view>

/// The running program among its versions; which one it is tells BuildInfo.
namespace quorvik::Version {

/// The path of the running program, for people; "quorvik-island" when the system does not tell.
std::string program();

/// Whether version `first` is older than `second`, number by number; texts that are no versions are older
/// than any.
bool isOlder(std::string_view first, std::string_view second);

} // namespace quorvik::Version
