#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quorvik::NearestName {

/// The name that `typed` was probably meant to be; empty when none is near. Upper and lower case are alike;
/// a letter more, less or another, or two in each other's place, count as one mistake, of which there may be
/// one in three letters. The first of names equally near.
std::string_view of(std::string_view typed, std::span<const std::string_view> names);

/// ", did you mean show?", to be put behind "unknown command shwo"; empty when no name is near.
std::string question(std::string_view typed, std::span<const std::string_view> names);

} // namespace quorvik::NearestName
