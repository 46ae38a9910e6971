#pragma once

#include "QuorvikCore/Activity/XcodeLogs.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

/// Reads the property lists, XML or binary, in which Xcode lists its logs: the only part of the core that
/// needs libplist, hence in a library of its own (QuorvikXcode).
namespace quorvik::XcodeManifest {

/// Bytes; a larger file is not read. A thousand builds take about one megabyte.
inline constexpr std::size_t maximumSize = 32 * 1024 * 1024;

/// The value of a property list. Dates, data and references, of which manifests have none that matter here,
/// become null. Absent when the bytes are no property list, or one that would do harm (PropertyListGuard).
std::optional<nlohmann::json> parse(std::string_view bytes);

/// The activities in the manifests of one project's folder in DerivedData,
/// "Logs/Build/LogStoreManifest.plist" and "Logs/Test/LogStoreManifest.plist", in that order. What cannot be
/// read is left out.
std::vector<XcodeActivity> activities(const std::filesystem::path& projectFolder);

} // namespace quorvik::XcodeManifest
