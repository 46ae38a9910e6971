#include "QuorvikCore/Activity/GitRepository.h"

#include "QuorvikCore/Activity/GitConfig.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace quorvik {

namespace {

using Path = std::filesystem::path;

constexpr std::size_t largestSmallFile = 64 * 1024;  // bytes; HEAD, a ref, ".git"
constexpr std::size_t largestConfig = 4 << 20;       // bytes
constexpr std::size_t largestPackedRefs = 256 << 20; // bytes; a million refs have about 80 MB

constexpr std::string_view heads = "refs/heads/", remotes = "refs/remotes/";

std::string_view firstLine(std::string_view text) {
    text = text.substr(0, text.find('\n'));
    while (!text.empty() && (text.back() == ' ' || text.back() == '\r' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

std::optional<std::string> readLine(const Path& path) {
    const auto text = Files::read(path, largestSmallFile);
    if (!text) return std::nullopt;
    return std::string(firstLine(*text));
}

bool isObjectID(std::string_view text) {
    return (text.size() == 40 || text.size() == 64) &&
           text.find_first_not_of("0123456789abcdef") == text.npos;
}

/// Whether the ref's name can be a path below the folder, and nothing else.
bool isPlainName(std::string_view ref) {
    if (ref.empty() || ref.starts_with('/') || ref.ends_with('/')) return false;
    if (ref.find('\0') != ref.npos || ref.find("//") != ref.npos) return false;
    const std::string framed = "/" + std::string(ref) + "/";
    return framed.find("/../") == framed.npos && framed.find("/./") == framed.npos;
}

/// The end of a file, at most so many bytes of it.
std::optional<std::string> readEnd(const Path& path, std::size_t most) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    const auto size = static_cast<std::size_t>(status.st_size);
    std::string text(std::min(size, most), '\0');
    const ssize_t count =
        ::pread(file.get(), text.data(), text.size(), static_cast<off_t>(size - text.size()));
    if (count < 0) return std::nullopt;
    text.resize(static_cast<std::size_t>(count));
    return text;
}

std::optional<std::string> newestMessage(const Path& reflog) {
    // Messages of more than this are cut by git itself, or written by nobody.
    const auto text = readEnd(reflog, largestSmallFile);
    return text ? newestReflogMessage(*text) : std::nullopt;
}

/// Which ref holds what the remote calls `merge`, by a rule like "+refs/heads/*:refs/remotes/origin/*".
std::optional<std::string> tracked(std::string_view rule, std::string_view merge) {
    if (rule.starts_with('+')) rule.remove_prefix(1);
    if (rule.starts_with('^')) return std::nullopt;
    const std::size_t colon = rule.find(':');
    if (colon == rule.npos) return std::nullopt;
    const std::string_view source = rule.substr(0, colon), target = rule.substr(colon + 1);
    const std::size_t star = source.find('*');
    if (star == source.npos) {
        if (source != merge) return std::nullopt;
        return std::string(target);
    }
    const std::string_view before = source.substr(0, star), after = source.substr(star + 1);
    const std::size_t place = target.find('*');
    if (place == target.npos || merge.size() < before.size() + after.size() || !merge.starts_with(before) ||
        !merge.ends_with(after))
        return std::nullopt;
    const std::string_view middle = merge.substr(before.size(), merge.size() - before.size() - after.size());
    return std::string(target.substr(0, place)) + std::string(middle) + std::string(target.substr(place + 1));
}

/// The full name of the branch's upstream. Absent when it has none.
std::optional<std::string> upstreamOf(const GitConfig& config, std::string_view branch) {
    const auto remote = config.value("branch", branch, "remote");
    const auto merge = config.value("branch", branch, "merge");
    if (!remote || !merge) return std::nullopt;
    if (*remote == ".") return *merge;
    for (const std::string& rule : config.values("remote", *remote, "fetch"))
        if (auto ref = tracked(rule, *merge)) return ref;
    return std::nullopt;
}

/// "origin/main" of "refs/remotes/origin/main".
std::string shortName(std::string_view ref) {
    for (const std::string_view prefix : {remotes, heads, std::string_view("refs/")})
        if (ref.starts_with(prefix)) return std::string(ref.substr(prefix.size()));
    return std::string(ref);
}

} // namespace

std::optional<std::string> newestReflogMessage(std::string_view reflog) {
    // A line that is being written has no line feed yet.
    const std::size_t end = reflog.rfind('\n');
    if (end == reflog.npos) return std::nullopt;
    reflog = reflog.substr(0, end);
    const std::size_t start = reflog.rfind('\n');
    std::string_view line = start == reflog.npos ? reflog : reflog.substr(start + 1);
    const std::size_t tab = line.find('\t');
    // "old new Name <address> time zone": without a message there is no tab either.
    if (tab == line.npos) return line.empty() ? std::nullopt : std::optional<std::string>("");
    return std::string(line.substr(tab + 1));
}

namespace {

/// One line of a file of packed refs: "<id> <name>". Lines that begin with "^" belong to the line before.
struct PackedLine {
    std::size_t begin, end; ///< in the file, without the line feed
    std::string_view id, name;
};

/// The line in which that byte stands; of one that belongs to another, that one.
PackedLine packedLineAt(std::string_view packedRefs, std::size_t at) {
    std::size_t begin = at;
    do {
        const std::size_t before = begin == 0 ? packedRefs.npos : packedRefs.rfind('\n', begin - 1);
        begin = before == packedRefs.npos ? 0 : before + 1;
    } while (begin > 0 && packedRefs[begin] == '^' && --begin > 0);
    const std::size_t end = std::min(packedRefs.find('\n', begin), packedRefs.size());
    const std::string_view line = packedRefs.substr(begin, end - begin);
    const std::size_t blank = std::min(line.find(' '), line.size());
    return {begin, end, line.substr(0, blank), line.substr(std::min(blank + 1, line.size()))};
}

} // namespace

std::optional<std::string> packedRef(std::string_view packedRefs, std::string_view ref) {
    const std::size_t heading = packedRefs.starts_with('#') ? packedRefs.find('\n') : packedRefs.npos;
    const bool isSorted =
        heading != packedRefs.npos && packedRefs.substr(0, heading).find(" sorted") != packedRefs.npos;
    if (isSorted) { // as git has written it for years, and trusts it to be; there may be megabytes
        std::size_t from = heading + 1, to = packedRefs.size();
        while (from < to) {
            const PackedLine line = packedLineAt(packedRefs, from + (to - from) / 2);
            if (line.name == ref && isObjectID(line.id)) return std::string(line.id);
            if (line.name < ref)
                from = std::max(line.end + 1, from + (to - from) / 2 + 1);
            else
                to = std::min(line.begin, to - 1);
        }
        return std::nullopt;
    }
    // The name with what stands around it: a blank before, a line's end behind.
    const std::string wanted = " " + std::string(ref) + "\n";
    for (std::size_t at = packedRefs.find(wanted); at != packedRefs.npos;
         at = packedRefs.find(wanted, at + 1)) {
        const PackedLine line = packedLineAt(packedRefs, at);
        if (isObjectID(line.id)) return std::string(line.id);
    }
    return std::nullopt;
}

std::optional<GitRepository> GitRepository::at(const Path& root) {
    std::error_code error;
    Path folder = root / ".git";
    const auto status = std::filesystem::status(folder, error);
    if (std::filesystem::is_regular_file(status)) {
        const auto line = readLine(folder);
        constexpr std::string_view key = "gitdir: ";
        if (!line || !line->starts_with(key)) return std::nullopt;
        folder = (root / line->substr(key.size())).lexically_normal();
    } else if (!std::filesystem::is_directory(status)) {
        return std::nullopt;
    }
    Path common = folder;
    if (const auto line = readLine(folder / "commondir")) common = (folder / *line).lexically_normal();
    if (common.filename().empty()) common = common.parent_path();
    if (!std::filesystem::exists(folder / "HEAD", error)) return std::nullopt;
    return GitRepository(root, std::move(folder), std::move(common));
}

std::optional<std::string> GitRepository::resolved(std::string ref, PackedRefs& packed) const {
    constexpr int longestChain = 5; // as git has it
    for (int step = 0; step < longestChain; ++step) {
        if (!isPlainName(ref)) return std::nullopt;
        const bool isOwn = !ref.starts_with("refs/") || ref.starts_with("refs/bisect/") ||
                           ref.starts_with("refs/worktree/") || ref.starts_with("refs/rewritten/");
        const auto line = readLine((isOwn ? gitFolder_ : commonFolder_) / ref);
        if (!line) {
            // After the ref's own file was not there: git packs a ref before it removes that.
            if (!packed) packed = Files::read(commonFolder_ / "packed-refs", largestPackedRefs).value_or("");
            return packedRef(*packed, ref);
        }
        if (isObjectID(*line)) return line;
        constexpr std::string_view key = "ref:";
        if (!line->starts_with(key)) return std::nullopt;
        const std::size_t name = line->find_first_not_of(" \t", key.size());
        if (name == line->npos) return std::nullopt;
        ref = line->substr(name);
    }
    return std::nullopt;
}

std::optional<GitRepository::State> GitRepository::read() const {
    const auto line = readLine(gitFolder_ / "HEAD");
    if (!line) return std::nullopt;
    State state;
    GitSnapshot& snapshot = state.snapshot;
    const GitConfig config(Files::read(commonFolder_ / "config", largestConfig).value_or(""));
    if (config.value("extensions", std::nullopt, "refStorage").value_or("files") != "files") {
        state.needsGit = true;
        return state;
    }
    state.needsGit =
        config.includesOthers() || config.value("extensions", std::nullopt, "worktreeConfig") == "true";

    PackedRefs packed;
    std::string ref;
    if (constexpr std::string_view key = "ref:"; line->starts_with(key)) {
        ref = line->substr(std::min(line->find_first_not_of(" \t", key.size()), line->size()));
        if (ref.starts_with(heads)) snapshot.branch = ref.substr(heads.size());
        snapshot.head = resolved(ref, packed);
    } else if (isObjectID(*line)) {
        snapshot.head = *line;
    } else {
        return std::nullopt; // it is being written
    }
    if (snapshot.head) snapshot.headMessage = newestMessage(gitFolder_ / "logs/HEAD");
    snapshot.stash = resolved("refs/stash", packed);
    if (!snapshot.branch || state.needsGit) return state;
    if (const auto upstream = upstreamOf(config, *snapshot.branch); upstream && isPlainName(*upstream)) {
        snapshot.upstream = resolved(*upstream, packed);
        snapshot.upstreamName = shortName(*upstream);
        snapshot.upstreamMessage = newestMessage(commonFolder_ / "logs" / *upstream);
    }
    return state;
}

std::vector<std::string> GitRepository::words(std::initializer_list<std::string_view> more) const {
    std::vector<std::string> all = {"git", "--no-pager",           "-C", root_.string(),
                                    "-c",  "core.fsmonitor=false", "-c", "log.showSignature=false"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

std::vector<std::string> GitRepository::subjectWords(std::string_view commit) const {
    return words({"log", "-1", "--no-color", "--encoding=UTF-8", "--format=%s", commit, "--"});
}

std::optional<GitSnapshot> GitRepository::askGit(const RunGit& run) const {
    const auto ask = [&](std::initializer_list<std::string_view> more) -> std::optional<std::string> {
        auto output = run(words(more));
        if (!output) return std::nullopt;
        std::string line(firstLine(*output));
        return line.empty() ? std::nullopt : std::optional(std::move(line));
    };
    if (!ask({"rev-parse", "--git-dir"})) return std::nullopt;
    GitSnapshot snapshot;
    if (const auto ref = ask({"symbolic-ref", "--quiet", "HEAD"}); ref && ref->starts_with(heads))
        snapshot.branch = ref->substr(heads.size());
    snapshot.head = ask({"rev-parse", "--quiet", "--verify", "HEAD^{commit}"});
    if (snapshot.head) {
        snapshot.subject = ask({"log", "-1", "--no-color", "--encoding=UTF-8", "--format=%s", "HEAD", "--"});
        snapshot.headMessage = ask({"reflog", "show", "-1", "--no-color", "--format=%gs", "HEAD", "--"});
    }
    if (snapshot.branch) {
        const std::string branch = std::string(heads) + *snapshot.branch;
        if (const auto upstream = ask({"for-each-ref", "--format=%(upstream)", branch})) {
            snapshot.upstream = ask({"rev-parse", "--quiet", "--verify", *upstream});
            snapshot.upstreamName = shortName(*upstream);
            if (snapshot.upstream)
                snapshot.upstreamMessage =
                    ask({"reflog", "show", "-1", "--no-color", "--format=%gs", *upstream, "--"});
        }
    }
    snapshot.stash = ask({"rev-parse", "--quiet", "--verify", "refs/stash"});
    return snapshot;
}

} // namespace quorvik
