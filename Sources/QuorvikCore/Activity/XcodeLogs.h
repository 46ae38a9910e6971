#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One build or test run that Xcode recorded.
struct XcodeActivity {
    enum class Kind { build, test };

    std::string id; ///< Xcode's unique identifier of the record
    Kind kind = Kind::build;
    std::string scheme;
    Date started{};
    Date stopped{};
    std::string status = "S"; ///< Xcode's one-letter high-level status
    std::int64_t errors = 0;
    std::int64_t warnings = 0;
    std::int64_t testFailures = 0;

    /// Errors, failed tests, or a status of "E" or "F".
    bool failed() const;

    bool operator==(const XcodeActivity&) const = default;
};

template <>
inline constexpr std::array<std::string_view, 2> rawValues<XcodeActivity::Kind> = {"build", "test"};

/// Reads the records that Xcode keeps of its builds and tests, one folder per project, named "<project>-<28
/// characters>".
namespace XcodeLogs {

/// "Library/Developer/Xcode/DerivedData" in the home folder.
std::filesystem::path derivedData();

/// "MyApp" for "MyApp-abcdefghijklmnopqrstuvwxyzab"; a name of another form as it is.
std::string projectName(std::string_view derivedDataFolder);

/// The activities of one log-store manifest, a property list read into a dictionary, earliest start first.
/// Records that are neither builds nor tests, or have no times, are left out; one without an identifier of
/// its own goes by its key in the manifest.
std::vector<XcodeActivity> activities(const nlohmann::json& manifest);

/// Whether the activity is worth showing: it failed, or took at least `minimumSuccess`.
bool isNotable(const XcodeActivity& activity, std::chrono::duration<double> minimumSuccess);

} // namespace XcodeLogs

} // namespace quorvik
