#include "QuorvikCore/Install/UserFileEdit.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/UserFile.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

namespace quorvik {

namespace UserFileEdit {

namespace {

std::optional<std::filesystem::path> backedUp(std::string_view content, const Options& options) {
    if (options.backupName.empty()) return std::nullopt;
    try {
        return Backups::save(options.backupName, content);
    } catch (const FileError&) {
        if (!options.backupIsOptional) throw;
        return std::nullopt;
    }
}

} // namespace

Content read(const std::filesystem::path& file) {
    return UserFile::read(file, maxFileSize).content();
}

EditOutcome edit(const std::filesystem::path& file, const std::function<Decision(const Content&)>& decide,
                 const Options& options) {
    constexpr int attempts = 10;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const UserFile found = UserFile::read(file, maxFileSize);
        const Decision decision = decide(found.content());
        if (decision.kind == Decision::Kind::keep) return {};
        const bool writes = decision.kind == Decision::Kind::write;
        EditOutcome change{.changed = true, .isSame = writes && found.content() == decision.text};
        if (found.content()) change.backup = backedUp(*found.content(), options);
        if (options.beforeWrite) options.beforeWrite();
        const bool done = writes ? found.replace(decision.text) : found.remove();
        if (done) return change;
    }
    throw EditError(file.string() + " keeps changing; nothing was written");
}

} // namespace UserFileEdit

namespace Backups {

namespace {

constexpr std::string_view suffix = ".bak", temporarySuffix = ".quorvik.tmp";

std::string timeStamp(std::time_t time) {
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H%M%SZ", &utc)};
}

/// The path of a backup of this second, or of the next one without a backup. A backup that exists is given
/// too when `isFit` holds for it. After three seconds the path is given even if it exists, since the clock
/// may stand still.
template <typename Predicate>
std::filesystem::path freePath(std::string_view name, Predicate isFit) {
    using namespace std::chrono;
    const auto folder = QuorvikPaths::backupsDirectory();
    QuorvikPaths::ensureDirectory(folder);
    constexpr int mostSeconds = 3;
    for (int waited = 0;; ++waited) {
        const auto now = system_clock::now();
        const std::string time = timeStamp(system_clock::to_time_t(now));
        auto backup = folder / (std::string(name) + "." + time + std::string(suffix));
        std::error_code ignored;
        const bool isTaken =
            std::filesystem::symlink_status(backup, ignored).type() != std::filesystem::file_type::not_found;
        if (!isTaken || isFit(backup) || waited == mostSeconds) return backup;
        std::this_thread::sleep_for(seconds(1) - (now - floor<seconds>(now)));
    }
}

void prune(const std::filesystem::path& folder, const std::string& prefix) {
    const auto remove = [&](const std::string& name) {
        std::error_code ignored;
        std::filesystem::remove(folder / name, ignored);
    };
    std::vector<std::pair<std::int64_t, std::string>> backups; // modification time and name
    auto listing = Files::Folder::open(folder);
    while (const char* name = listing ? listing->next() : nullptr) {
        const std::string_view view = name;
        if (!view.starts_with(prefix)) continue;
        const auto status = listing->status(name);
        if (view.ends_with(temporarySuffix) && status && UserFile::isLeftover(*status))
            remove(name); // of a program that was killed
        if (!view.ends_with(suffix)) continue;
        backups.emplace_back(status ? status->modified : std::numeric_limits<std::int64_t>::min(), name);
    }
    std::ranges::sort(backups, std::greater());
    for (std::size_t index = kept; index < backups.size(); ++index)
        remove(backups[index].second);
}

} // namespace

std::filesystem::path save(std::string_view name, std::string_view content) {
    const auto holdsTheSame = [&](const std::filesystem::path& backup) {
        return Files::read(backup, UserFileEdit::maxFileSize) == content;
    };
    const auto backup = freePath(name, holdsTheSame);
    const std::string process = "." + std::to_string(::getpid());
    Files::replace(backup, content, backup.native() + process + std::string(temporarySuffix), 0600);
    prune(backup.parent_path(), std::string(name) + ".");
    return backup;
}

std::filesystem::path moveHere(const std::filesystem::path& file) {
    const auto backup = freePath(file.filename().string(), [](const auto&) { return false; });
    std::error_code error;
    std::filesystem::rename(file, backup, error);
    if (error) throw FileError("move", file, error.value());
    return backup;
}

} // namespace Backups

} // namespace quorvik
