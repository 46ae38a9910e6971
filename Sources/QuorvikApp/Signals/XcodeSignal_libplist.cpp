#include "QuorvikApp/Model/XcodeBoard.h"
#include "QuorvikApp/Signals/XcodeSignal.h"

#include "QuorvikCore/Activity/XcodeManifest.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace quorvik {

namespace {

using Path = std::filesystem::path;

constexpr Timer::Seconds interval(60), afterChange(0.5);
constexpr std::size_t mostProjects = 100;

/// When the two manifests of a project were written.
using Stamp = std::pair<std::filesystem::file_time_type, std::filesystem::file_time_type>;

struct Project {
    std::string name;
    std::vector<XcodeActivity> activities;
};

constexpr const char* logFolders[] = {"Logs/Build", "Logs/Test"};

class XcodeSignal : public Signal {
  public:
    explicit XcodeSignal(const SignalContext& context) : Signal(context, "xcode") {}

    void update() override {
        if (settings().xcode) return turnOn(interval);
        board_ = {};
        stamps_.clear();
        watches_.clear();
        turnOff("switched off");
    }

  private:
    void look() override {
        std::vector<Path> changed;
        std::map<std::string, Stamp> stamps;
        std::error_code error;
        for (std::filesystem::directory_iterator entry(XcodeLogs::derivedData(), error), end;
             !error && entry != end && stamps.size() < mostProjects; entry.increment(error)) {
            const Path folder = entry->path();
            std::error_code missing; // a project that was never tested has no manifest of tests
            const Stamp stamp = {
                std::filesystem::last_write_time(folder / logFolders[0] / manifest, missing),
                std::filesystem::last_write_time(folder / logFolders[1] / manifest, missing)};
            const auto known = stamps_.find(folder.string());
            if (known == stamps_.end() || known->second != stamp) changed.push_back(folder);
            stamps[folder.string()] = stamp;
        }
        watchFolders(stamps);
        stamps_ = std::move(stamps);
        if (stamps_.empty()) return ended("there is nothing in " + XcodeLogs::derivedData().string());
        if (changed.empty()) return ended();
        runInBackground<std::vector<Project>>(
            [changed] {
                std::vector<Project> projects;
                for (const Path& folder : changed)
                    projects.push_back({XcodeLogs::projectName(folder.filename().string()),
                                        XcodeManifest::activities(folder)});
                return projects;
            },
            [this](const std::vector<Project>& projects) {
                for (const Project& project : projects)
                    board_.look(project.name, project.activities, now());
                show(board_.records());
                ended();
            });
    }

    void watchFolders(const std::map<std::string, Stamp>& projects) {
        std::vector<std::string> folders = {XcodeLogs::derivedData().string()};
        for (const auto& [project, stamp] : projects)
            for (const char* logs : logFolders)
                folders.push_back((Path(project) / logs).string());
        std::erase_if(watches_, [&](const auto& entry) {
            return std::ranges::find(folders, entry.first) == folders.end();
        });
        for (const std::string& folder : folders) {
            auto& watch = watches_[folder];
            if (!watch)
                watch = std::make_unique<FolderWatch>(context_.loop,
                                                      [this](const FolderHints&) { lookSoon(afterChange); });
            watch->watch(folder);
        }
    }

    static constexpr const char* manifest = "LogStoreManifest.plist";

    XcodeBoard board_;
    std::map<std::string, Stamp> stamps_; ///< by the project's folder
    std::map<std::string, std::unique_ptr<FolderWatch>> watches_;
};

} // namespace

std::unique_ptr<Signal> makeXcodeSignal(const SignalContext& context) {
    return std::make_unique<XcodeSignal>(context);
}

} // namespace quorvik
