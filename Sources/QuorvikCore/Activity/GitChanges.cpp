#include "QuorvikCore/Activity/GitChanges.h"

#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <map>

namespace quorvik::GitChanges {

namespace {

using Status = FileChange::Status;
using Kind = DiffLine::Kind;

/// Takes what stands before the first `end` off the text's front, and `end` with it. Absent without one.
std::optional<std::string_view> taken(std::string_view& text, char end) {
    const std::size_t at = text.find(end);
    if (at == text.npos) return std::nullopt;
    const std::string_view piece = text.substr(0, at);
    text.remove_prefix(at + 1);
    return piece;
}

std::optional<std::int64_t> count(std::string_view text) {
    if (text.empty() || text.find_first_not_of("0123456789") != text.npos) return std::nullopt;
    return Number::integer<std::int64_t>(text);
}

std::optional<Status> statusOf(char letter) {
    switch (letter) {
    case 'M': return Status::modified;
    case 'A': return Status::added;
    case 'D': return Status::deleted;
    case 'R': return Status::renamed;
    case 'C': return Status::copied;
    case 'T': return Status::typeChanged;
    case 'U': return Status::unmerged;
    default: return std::nullopt;
    }
}

/// What the raw form says of a file, which comes before the counts.
struct RawEntry {
    Status status = Status::modified;
    bool isSubmodule = false;
};

/// ":100644 100644 0a1b2c3 4d5e6f7 M" and its one or two paths. The leading colon is taken already.
bool takeRawEntry(std::string_view& text, std::map<std::string, RawEntry, std::less<>>& entries) {
    const auto facts = taken(text, '\0');
    if (!facts || facts->starts_with(':')) return false; // two colons: the combined form
    const std::size_t letter = facts->rfind(' ');
    if (letter == facts->npos || letter + 1 >= facts->size()) return false;
    const auto status = statusOf((*facts)[letter + 1]);
    if (!status) return false;
    const auto first = taken(text, '\0');
    if (!first) return false;
    auto path = *first;
    if (*status == Status::renamed || *status == Status::copied) {
        const auto second = taken(text, '\0');
        if (!second) return false;
        path = *second;
    }
    constexpr std::string_view submodule = "160000";
    const bool isSubmodule =
        facts->starts_with(submodule) || (facts->size() > 13 && facts->substr(7, 6) == submodule);
    if (entries.size() < mostFiles)
        entries.insert_or_assign(std::string(path), RawEntry{*status, isSubmodule});
    return true;
}

/// "12", "3" and "path", or nothing and then the older and the newer path.
bool takeCounts(std::string_view& text, const std::map<std::string, RawEntry, std::less<>>& entries,
                ChangeSet& set) {
    const auto added = taken(text, '\t');
    const auto removed = taken(text, '\t');
    auto path = taken(text, '\0');
    if (!added || !removed || !path) return false;
    FileChange file;
    file.isBinary = *added == "-" && *removed == "-";
    if (!file.isBinary) {
        const auto plus = count(*added), minus = count(*removed);
        if (!plus || !minus) return false;
        file.added = *plus;
        file.removed = *minus;
    }
    if (path->empty()) {
        const auto older = taken(text, '\0');
        path = taken(text, '\0');
        if (!older || !path || older->empty() || path->empty()) return false;
        file.oldPath = Unicode::repaired(*older);
        file.status = Status::renamed;
    }
    if (const auto raw = entries.find(*path); raw != entries.end()) {
        file.status = raw->second.status;
        file.isSubmodule = raw->second.isSubmodule;
    }
    ++set.fileCount;
    // Nobody has so many lines; the sum of hostile counts must stay a number.
    constexpr std::int64_t most = std::int64_t{1} << 53;
    set.added = std::min(most, set.added + std::min(most, file.added));
    set.removed = std::min(most, set.removed + std::min(most, file.removed));
    if (set.files.size() < mostFiles) {
        file.path = Unicode::repaired(*path);
        set.files.push_back(std::move(file));
    }
    return true;
}

/// A path as git writes it in headers: as it is, or in double quotes with the escapes of C.
std::string unquoted(std::string_view text) {
    if (text.size() < 2 || !text.starts_with('"') || !text.ends_with('"')) return std::string(text);
    text = text.substr(1, text.size() - 2);
    std::string path;
    while (!text.empty()) {
        const char byte = text.front();
        text.remove_prefix(1);
        if (byte != '\\' || text.empty()) {
            path += byte;
            continue;
        }
        constexpr std::string_view letters = "abtnvfr\"\\", meanings = "\a\b\t\n\v\f\r\"\\";
        if (const std::size_t at = letters.find(text.front()); at != letters.npos) {
            path += meanings[at];
            text.remove_prefix(1);
            continue;
        }
        unsigned value = 0;
        std::size_t digits = 0;
        while (digits < 3 && digits < text.size() && text[digits] >= '0' && text[digits] <= '7')
            value = value * 8 + static_cast<unsigned>(text[digits++] - '0');
        path += digits > 0 ? static_cast<char>(value) : '\\';
        text.remove_prefix(digits);
    }
    return path;
}

/// The path behind "--- " or "+++ ": without the "a/" or "b/" in front, and without the tab that git puts
/// behind one with blanks. Absent for "/dev/null", which stands for no file.
std::optional<std::string> headerPath(std::string_view text) {
    if (text.ends_with('\t')) text.remove_suffix(1);
    if (text == "/dev/null") return std::nullopt;
    const std::string path = unquoted(text);
    return path.size() > 2 && path[1] == '/' ? path.substr(2) : path;
}

/// The path in "a/x b/x", which both have in common: the only way to name a file without any lines. A quoted
/// one ends at its quote.
std::string commonPath(std::string_view text) {
    if (text.starts_with('"')) {
        std::size_t end = 1;
        while (end < text.size() && text[end] != '"')
            end += text[end] == '\\' ? 2 : 1;
        return headerPath(text.substr(0, std::min(end + 1, text.size()))).value_or("");
    }
    return headerPath(text.substr(0, text.size() / 2)).value_or("");
}

/// "-12,3" or "+12": where a hunk begins, and how many lines it has.
bool takePlace(std::string_view& text, char sign, std::int64_t& start, std::int64_t& length) {
    if (!text.starts_with(sign)) return false;
    text.remove_prefix(1);
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view place = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t comma = std::min(place.find(','), place.size());
    const auto first = count(place.substr(0, comma));
    const auto lines = comma < place.size() ? count(place.substr(comma + 1)) : 1;
    // So far from the largest number that counting on cannot reach it.
    constexpr std::int64_t most = std::int64_t{1} << 53;
    if (!first || !lines || *first > most || *lines > most) return false;
    start = *first;
    length = *lines;
    return true;
}

/// Reads one line after the other.
class DiffReader {
  public:
    std::optional<std::vector<FileDiff>> read(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            if (!take(text.substr(0, end))) return std::nullopt;
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        finishFile();
        return std::move(files_);
    }

  private:
    bool take(std::string_view line) {
        if (line.starts_with("diff --git ")) {
            finishFile();
            if (isFull_ || files_.size() == mostFiles) {
                isFull_ = files_.back().isShortened = true;
                return true;
            }
            files_.emplace_back().path = commonPath(line.substr(11));
            return true;
        }
        if (isFull_) return true;
        if (files_.empty()) return false; // "diff --cc", or no difference at all
        if (line.starts_with("\\ ")) {
            add(Kind::note, line.substr(2));
            return true;
        }
        if (oldLeft_ > 0 || newLeft_ > 0) return takeHunkLine(line);
        if (line.starts_with("@@ ")) return beginHunk(line);
        if (line.starts_with("@@@")) return false;
        if (isInHunks_) return false;
        takeHeader(line);
        return true;
    }

    bool beginHunk(std::string_view line) {
        std::string_view places = line.substr(3);
        if (!takePlace(places, '-', old_, oldLeft_) || !takePlace(places, '+', new_, newLeft_) ||
            !places.starts_with("@@"))
            return false;
        isInHunks_ = true;
        add(Kind::hunk, line);
        return true;
    }

    bool takeHunkLine(std::string_view line) {
        // Some programs drop the only blank of an empty line that is in both.
        const char sign = line.empty() ? ' ' : line.front();
        if (!line.empty()) line.remove_prefix(1);
        if (sign == '+') {
            if (newLeft_-- == 0) return false;
            add(Kind::added, line, std::nullopt, new_++);
        } else if (sign == '-') {
            if (oldLeft_-- == 0) return false;
            add(Kind::removed, line, old_++, std::nullopt);
        } else if (sign == ' ') {
            if (oldLeft_-- == 0 || newLeft_-- == 0) return false;
            add(Kind::context, line, old_++, new_++);
        } else {
            return false;
        }
        return true;
    }

    void takeHeader(std::string_view line) {
        FileDiff& file = files_.back();
        const auto rest = [&](std::string_view start) -> std::optional<std::string_view> {
            if (!line.starts_with(start)) return std::nullopt;
            return line.substr(start.size());
        };
        if (const auto older = rest("--- ")) {
            if (auto path = headerPath(*older)) file.oldPath = std::move(path);
        } else if (const auto newer = rest("+++ ")) {
            if (auto path = headerPath(*newer))
                file.path = std::move(*path);
            else if (file.oldPath)
                file.path = *file.oldPath; // deleted
        } else if (const auto from = rest("rename from ")) {
            file.oldPath = unquoted(*from);
        } else if (const auto to = rest("rename to ")) {
            file.path = unquoted(*to);
        } else if (const auto copied = rest("copy from ")) {
            file.oldPath = unquoted(*copied);
        } else if (const auto copy = rest("copy to ")) {
            file.path = unquoted(*copy);
        } else if (line.starts_with("Binary files ") || line == "GIT binary patch") {
            file.isBinary = true;
        } else if (!file.isBinary && !line.starts_with("index ")) {
            constexpr std::size_t mostNotes = 10;
            if (file.notes.size() < mostNotes)
                file.notes.push_back(Unicode::repaired(line.substr(0, longestDiffLine)));
        }
    }

    void add(Kind kind, std::string_view text, std::optional<std::int64_t> older = std::nullopt,
             std::optional<std::int64_t> newer = std::nullopt) {
        FileDiff& file = files_.back();
        if (kept_ >= mostLines) {
            file.isShortened = true;
            return;
        }
        ++kept_;
        if (text.size() > longestDiffLine) file.isShortened = true;
        file.lines.push_back({kind, older, newer, Unicode::repaired(text.substr(0, longestDiffLine))});
    }

    void finishFile() {
        if (files_.empty()) return;
        FileDiff& file = files_.back();
        if (oldLeft_ > 0 || newLeft_ > 0) file.isShortened = true;
        file.path = Unicode::repaired(file.path);
        if (file.oldPath) file.oldPath = Unicode::repaired(*file.oldPath);
        if (file.oldPath == file.path) file.oldPath.reset();
        oldLeft_ = newLeft_ = 0;
        isInHunks_ = false;
    }

    std::vector<FileDiff> files_;
    std::size_t kept_ = 0;                   ///< lines of all files
    std::int64_t old_ = 0, new_ = 0;         ///< numbers of the next lines
    std::int64_t oldLeft_ = 0, newLeft_ = 0; ///< of the hunk
    bool isInHunks_ = false;
    bool isFull_ = false; ///< all files that follow are dropped
};

std::vector<std::string> gitWords(const Range& range) {
    // A repository's settings may name a program that tells what has changed, and one that shows differences.
    return {"git",
            "--no-pager",
            "-C",
            range.root,
            "-c",
            "core.fsmonitor=false",
            "-c",
            "core.quotePath=true",
            "-c",
            "diff.suppressBlankEmpty=false",
            "-c",
            "diff.orderFile=/dev/null",
            "diff",
            "--no-ext-diff",
            "--no-textconv",
            "--no-color",
            "--no-relative",
            "--find-renames",
            "--submodule=short",
            "--ignore-submodules=none"};
}

/// Names one path, whatever signs are in it. What stood in the place of a repaired character is not known, so
/// anything may.
std::string pathspec(const std::string& path) {
    constexpr std::string_view repaired = "\xEF\xBF\xBD";
    if (path.find(repaired) == path.npos) return ":(top,literal)" + path;
    std::string spec = ":(top,glob)";
    for (std::size_t at = 0; at < path.size(); ++at) {
        if (path.compare(at, repaired.size(), repaired) == 0) {
            spec += '*';
            at += repaired.size() - 1;
        } else {
            if (std::string_view("*?[]\\").find(path[at]) != std::string_view::npos) spec += '\\';
            spec += path[at];
        }
    }
    return spec;
}

void addStates(const Range& range, std::vector<std::string>& words) {
    words.push_back(range.from);
    if (range.to) words.push_back(*range.to);
    words.emplace_back("--");
}

} // namespace

std::string_view emptyTree(std::string_view id) {
    return id.size() > 40 ? "6ef19b41225c5369f1c104d45d8d85efa9b057b53b14b4b9b939dd74decc5321"
                          : "4b825dc642cb6eb9a060e54bf8d69288fbee4904";
}

std::vector<std::string> listWords(const Range& range) {
    auto words = gitWords(range);
    for (const char* word : {"--raw", "--numstat", "-z"})
        words.emplace_back(word);
    addStates(range, words);
    return words;
}

std::vector<std::string> diffWords(const Range& range, const FileChange& file) {
    auto words = gitWords(range);
    for (const char* word :
         {"--patch", "--unified=3", "--inter-hunk-context=0", "--src-prefix=a/", "--dst-prefix=b/"})
        words.emplace_back(word);
    addStates(range, words);
    if (file.oldPath) words.push_back(pathspec(*file.oldPath));
    words.push_back(pathspec(file.path));
    return words;
}

std::optional<ChangeSet> parseList(std::string_view output) {
    ChangeSet set;
    std::map<std::string, RawEntry, std::less<>> entries;
    while (!output.empty()) {
        if (output.starts_with(':')) {
            output.remove_prefix(1);
            if (!takeRawEntry(output, entries)) return std::nullopt;
        } else if (!takeCounts(output, entries, set)) {
            return std::nullopt;
        }
    }
    return set;
}

std::optional<std::vector<FileDiff>> parseDiff(std::string_view output) {
    return DiffReader().read(output);
}

} // namespace quorvik::GitChanges
