#include "QuorvikCore/Activity/XcodeLogs.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

bool XcodeActivity::failed() const {
    return errors > 0 || testFailures > 0 || status == "E" || status == "F";
}

namespace XcodeLogs {

namespace {

constexpr std::size_t folderHashLength = 28;
constexpr double secondsFrom1970To2001 = 978'307'200; // property lists count from 2001-01-01 00:00 UTC

using Dictionary = nlohmann::json;

std::optional<std::string> text(const Dictionary& dictionary, const char* key) {
    const auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

std::optional<Date> date(const Dictionary& dictionary, const char* key) {
    const auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->is_number()) return std::nullopt;
    return dateFromSeconds(found->get<double>() + secondsFrom1970To2001);
}

std::int64_t count(const Dictionary& dictionary, const char* key) {
    const auto found = dictionary.find(key);
    return found != dictionary.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

std::optional<XcodeActivity::Kind> kindOf(std::string_view domainType, std::string_view title) {
    if (domainType.ends_with("TestLog")) return XcodeActivity::Kind::test;
    if (domainType.ends_with("BuildLog") && title.starts_with("Build")) return XcodeActivity::Kind::build;
    return std::nullopt;
}

std::string without(std::string text, std::string_view word) {
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at))
        text.erase(at, word.size());
    return text;
}

std::optional<XcodeActivity> activity(const std::string& key, const Dictionary& log) {
    const std::string title = text(log, "title").value_or("");
    const auto kind = kindOf(text(log, "domainType").value_or(""), title);
    const auto started = date(log, "timeStartedRecording");
    const auto stopped = date(log, "timeStoppedRecording");
    if (!kind || !started || !stopped) return std::nullopt;

    XcodeActivity activity;
    activity.id = text(log, "uniqueIdentifier").value_or(key);
    activity.kind = *kind;
    activity.scheme =
        text(log, "schemeIdentifier-schemeName").value_or(without(without(title, "Build "), "Test "));
    activity.started = *started;
    activity.stopped = *stopped;
    const auto observable = log.find("primaryObservable");
    if (observable != log.end() && observable->is_object()) {
        activity.status = text(*observable, "highLevelStatus").value_or("S");
        activity.errors = count(*observable, "totalNumberOfErrors");
        activity.warnings = count(*observable, "totalNumberOfWarnings");
        activity.testFailures = count(*observable, "totalNumberOfTestFailures");
    }
    return activity;
}

} // namespace

std::filesystem::path derivedData() {
    return QuorvikPaths::home() / "Library/Developer/Xcode/DerivedData";
}

std::string projectName(std::string_view derivedDataFolder) {
    const auto dash = derivedDataFolder.rfind('-');
    const bool hasHash = dash != std::string_view::npos &&
                         Unicode::characterCount(derivedDataFolder.substr(dash + 1)) == folderHashLength;
    return std::string(hasHash ? derivedDataFolder.substr(0, dash) : derivedDataFolder);
}

std::vector<XcodeActivity> activities(const nlohmann::json& manifest) {
    std::vector<XcodeActivity> found;
    if (!manifest.is_object()) return found;
    const auto logs = manifest.find("logs");
    if (logs == manifest.end() || !logs->is_object()) return found;
    for (const auto& [key, log] : logs->items()) {
        if (!log.is_object()) continue;
        if (auto one = activity(key, log)) found.push_back(std::move(*one));
    }
    std::ranges::stable_sort(found, {}, &XcodeActivity::started);
    return found;
}

bool isNotable(const XcodeActivity& activity, std::chrono::duration<double> minimumSuccess) {
    return activity.failed() || activity.stopped - activity.started >= minimumSuccess;
}

} // namespace XcodeLogs

} // namespace quorvik
