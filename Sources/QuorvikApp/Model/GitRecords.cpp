#include "QuorvikApp/Model/GitRecords.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <iterator>

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

constexpr std::string_view changesTool = "Changes";

std::string lineCounts(std::int64_t added, std::int64_t removed) {
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
        text += (*file)->isBinary ? " (binary)" : " " + lineCounts((*file)->added, (*file)->removed);
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
    SessionRecord item = record(root, "changes", std::string(changesTool), counts(changes), now);
    item.detail = largest(changes);
    return item;
}

bool isChanges(const SessionRecord& record) {
    return record.source == Source::git && record.tool == changesTool;
}

std::string counts(const ChangeSet& changes) {
    return lineCounts(changes.added, changes.removed) + " in " + std::to_string(changes.fileCount) +
           (changes.fileCount == 1 ? " file" : " files");
}

std::optional<FileDiff> diffOf(std::string_view path, std::string_view output) {
    std::optional<FileDiff> whole;
    for (FileDiff& piece : GitChanges::parseDiff(output).value_or(std::vector<FileDiff>())) {
        if (piece.path != path) continue;
        if (!whole) {
            whole = std::move(piece);
            continue;
        }
        std::ranges::move(piece.lines, std::back_inserter(whole->lines));
        std::ranges::move(piece.notes, std::back_inserter(whole->notes));
        whole->isBinary = whole->isBinary || piece.isBinary;
        whole->isShortened = whole->isShortened || piece.isShortened;
    }
    return whole;
}

bool bringsChanges(const GitEvent& event) {
    constexpr std::string_view ops[] = {"Committed", "Amended",       "Merged",  "Pulled",
                                        "Rebased",   "Cherry-picked", "Reverted"};
    return std::ranges::find(ops, event.op) != std::end(ops);
}

} // namespace quorvik::GitRecords
