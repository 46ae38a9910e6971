#include "QuorvikCore/Install/UserFileEdit.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/UserFile.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <ctime>
#include <limits>
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

FileChange edit(const std::filesystem::path& file, const std::function<Decision(const Content&)>& decide,
                const Options& options) {
    constexpr int attempts = 10;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const UserFile found = UserFile::read(file, maxFileSize);
        const Decision decision = decide(found.content());
        if (decision.kind == Decision::Kind::keep) return {};
        FileChange change{true, std::nullopt};
        if (found.content()) change.backup = backedUp(*found.content(), options);
        if (options.beforeWrite) options.beforeWrite();
        const bool done =
            decision.kind == Decision::Kind::remove ? found.remove() : found.replace(decision.text);
        if (done) return change;
    }
    throw EditError(file.string() + " keeps changing; nothing was written");
}

} // namespace UserFileEdit

namespace Backups {

namespace {

constexpr std::string_view suffix = ".bak";

std::string timeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H%M%SZ", &utc)};
}

void prune(const std::filesystem::path& folder, const std::string& prefix) {
    std::vector<std::pair<std::int64_t, std::string>> backups; // modification time and name
    auto listing = Files::Folder::open(folder);
    while (const char* name = listing ? listing->next() : nullptr) {
        const std::string_view view = name;
        if (!view.starts_with(prefix) || !view.ends_with(suffix)) continue;
        const auto status = listing->status(name);
        backups.emplace_back(status ? status->modified : std::numeric_limits<std::int64_t>::min(), name);
    }
    std::ranges::sort(backups, std::greater());
    for (std::size_t index = kept; index < backups.size(); ++index) {
        std::error_code ignored;
        std::filesystem::remove(folder / backups[index].second, ignored);
    }
}

} // namespace

std::filesystem::path save(std::string_view name, std::string_view content) {
    const auto folder = QuorvikPaths::backupsDirectory();
    QuorvikPaths::ensureDirectory(folder);
    const std::string prefix = std::string(name) + ".";
    const auto backup = folder / (prefix + timeStamp() + std::string(suffix));
    Files::replace(backup, content, backup.native() + ".quorvik.tmp", 0600);
    prune(folder, prefix);
    return backup;
}

} // namespace Backups

} // namespace quorvik
