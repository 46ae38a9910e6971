#include "QuorvikApp/Model/GitRecords.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::GitRecords {

namespace {

using Path = std::filesystem::path;

SessionRecord record(const Path& root, const std::string& kind, std::string tool, std::string summary,
                     Date now) {
    SessionRecord record(Source::git, kind + "-" + root.string(), root.string(), now);
    record.state = SessionState::done;
    record.tool = std::move(tool);
    record.title = Unicode::terminalLine(root.filename().string());
    record.summary = std::move(summary);
    record.turnStartedAt = now;
    return record;
}

std::string counts(std::int64_t added, std::int64_t removed) {
    return "+" + std::to_string(added) + " −" + std::to_string(removed);
}

/// The files with the most lines first, as many as fit.
std::string largest(const ChangeSet& changes) {
    constexpr std::size_t mostNamed = 5;
    std::vector<const FileChange*> files;
    for (const FileChange& file : changes.files)
        files.push_back(&file);
    const auto end = files.begin() + static_cast<std::ptrdiff_t>(std::min(files.size(), mostNamed));
    std::ranges::partial_sort(files, end, std::ranges::greater(),
                              [](const FileChange* file) { return file->added + file->removed; });
    std::string text;
    for (auto file = files.begin(); file != end; ++file) {
        text += text.empty() ? "" : ", ";
        text += Unicode::terminalLine((*file)->path);
        text += (*file)->isBinary ? " (binary)" : " " + counts((*file)->added, (*file)->removed);
    }
    if (changes.fileCount > static_cast<std::int64_t>(std::min(files.size(), mostNamed))) text += ", …";
    return text;
}

} // namespace

SessionRecord event(const Path& root, const GitEvent& event, Date now) {
    std::string summary = event.op;
    if (!event.detail.empty()) summary += ": " + Unicode::terminalLine(event.detail);
    return record(root, "event", event.op, std::move(summary), now);
}

SessionRecord changes(const Path& root, const ChangeSet& changes, Date now) {
    SessionRecord item =
        record(root, "changes", "Changes",
               counts(changes.added, changes.removed) + " in " + std::to_string(changes.fileCount) +
                   (changes.fileCount == 1 ? " file" : " files"),
               now);
    item.detail = largest(changes);
    return item;
}

bool bringsChanges(const GitEvent& event) {
    constexpr std::string_view ops[] = {"Committed", "Amended",       "Merged",  "Pulled",
                                        "Rebased",   "Cherry-picked", "Reverted"};
    return std::ranges::find(ops, event.op) != std::end(ops);
}

} // namespace quorvik::GitRecords
