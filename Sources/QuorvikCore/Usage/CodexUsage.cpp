#include "QuorvikCore/Usage/CodexUsage.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/PartlyReadFile.h"
#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/LinesFromEnd.h"

#include <algorithm>
#include <array>
#include <functional>

namespace quorvik {

namespace {

using Path = std::filesystem::path;

constexpr std::size_t mostDays = 7, mostFiles = 8;
constexpr std::uint64_t mostBytes = 4u << 20; ///< of one file in one look

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

std::optional<double> number(const RawJSON::Object& object, std::string_view name) {
    const std::string_view* const value = object[name];
    return value ? RecordAccess::number(*value) : std::nullopt;
}

std::optional<UsageWindow> windowOf(const RawJSON::Object& limits, const std::string& prefix,
                                    std::string_view name, Date toldAt) {
    const std::string_view* const text = limits[name];
    const auto object = text ? RawJSON::object(*text) : std::nullopt;
    if (!object) return std::nullopt;
    const auto used = number(*object, "used_percent");
    const std::string_view* const minutesText = (*object)["window_minutes"];
    std::int64_t minutes = minutesText ? RecordAccess::integer(*minutesText).value_or(0) : 0;
    auto resets = number(*object, "resets_at");
    if (const auto left = number(*object, "resets_in_seconds"); left && !resets)
        resets = secondsSince1970(toldAt) + *left;
    if (!used || !resets) return std::nullopt;
    // Some versions say how many whole minutes are left of a window that has just begun.
    if (minutes % 60 == 59) ++minutes;
    return plausibleWindow(prefix + std::string(name), Source::codex, minutes, *used, *resets);
}

/// "codex." for the account's own limits; absent when the limit has a name that is no word.
std::optional<std::string> prefixOf(const RawJSON::Object& limits) {
    const std::string_view* const text = limits["limit_id"];
    const std::string id = text ? RawJSON::string(*text).value_or("") : "";
    if (id.empty() || id == "codex") return "codex.";
    const auto isOfWord = [](char character) {
        return isDigit(character) || character == '_' || character == '-' ||
               (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    };
    constexpr std::size_t longest = 40;
    if (id.size() > longest || !std::ranges::all_of(id, isOfWord)) return std::nullopt;
    return "codex." + id + ".";
}

/// The entries of a folder that are numbers, the largest first.
std::vector<std::string> numbered(const Path& folder) {
    std::vector<std::string> names;
    auto entries = Files::Folder::open(folder);
    while (const char* name = entries ? entries->next() : nullptr)
        if (std::ranges::all_of(std::string_view(name), isDigit)) names.emplace_back(name);
    std::ranges::sort(names, std::ranges::greater());
    return names;
}

/// The last days' folders, of those that are there.
std::vector<Path> newestDays(const Path& folder, std::size_t most) {
    std::vector<Path> days;
    for (const std::string& year : numbered(folder))
        for (const std::string& month : numbered(folder / year))
            for (const std::string& day : numbered(folder / year / month)) {
                days.push_back(folder / year / month / day);
                if (days.size() == most) return days;
            }
    return days;
}

} // namespace

struct CodexUsage::File {
    Path path;
    Files::Status status;
};

std::vector<UsageFigure> CodexUsage::parse(std::string_view line) {
    if (line.find("\"rate_limits\"") == line.npos) return {}; // true of most lines, and quickly found
    constexpr std::array<std::string_view, 2> wanted = {"timestamp", "payload"};
    constexpr std::array<std::string_view, 1> opened = {"payload"};
    const auto outline = RawJSON::outline(line, wanted, opened);
    if (!outline) return {};
    const auto timestamp = outline->members.find("timestamp");
    const auto payload = outline->inside.find("payload");
    if (timestamp == outline->members.end() || payload == outline->inside.end()) return {};
    const auto limits = payload->second.find("rate_limits");
    const auto object = limits == payload->second.end() ? std::nullopt : RawJSON::object(limits->second);
    const auto toldAt = ISO8601::parseWithoutFraction(RawJSON::string(timestamp->second).value_or(""));
    const auto prefix = object ? prefixOf(*object) : std::nullopt;
    if (!toldAt || !prefix) return {};
    std::vector<UsageFigure> figures;
    for (const std::string_view name : {"primary", "secondary"})
        if (auto window = windowOf(*object, *prefix, name, *toldAt))
            figures.push_back({std::move(*window), *toldAt});
    return figures;
}

Path CodexUsage::newestFolder() const {
    const auto days = newestDays(folder_, 1);
    return days.empty() ? folder_ : days.front();
}

std::vector<CodexUsage::File> CodexUsage::newestFiles() const {
    std::vector<File> files;
    for (const Path& day : newestDays(folder_, mostDays)) {
        auto entries = Files::Folder::open(day);
        while (const char* name = entries ? entries->next() : nullptr) {
            const std::string_view text = name;
            if (!text.starts_with("rollout-") || !text.ends_with(".jsonl")) continue;
            const auto status = entries->status(name);
            if (status && status->regular) files.push_back({day / text, *status});
        }
    }
    const auto end = files.begin() + static_cast<std::ptrdiff_t>(std::min(files.size(), mostFiles));
    std::ranges::partial_sort(files, end, std::ranges::greater(),
                              [](const File& file) { return file.status.modified; });
    files.erase(end, files.end());
    return files;
}

void CodexUsage::take(const std::vector<UsageFigure>& figures) {
    for (const UsageFigure& figure : figures) {
        const auto known = figures_.try_emplace(figure.window.id, figure).first;
        if (figure.toldAt >= known->second.toldAt) known->second = figure;
    }
}

std::vector<UsageFigure> CodexUsage::read() {
    std::map<std::string, std::uint64_t> readUpTo;
    for (const auto& [path, status] : newestFiles()) {
        const auto known = readUpTo_.find(path.string());
        const bool isShorter = known != readUpTo_.end() && status.size < known->second;
        std::uint64_t begin = known == readUpTo_.end() || isShorter ? 0 : known->second;
        if (begin < status.size) {
            const auto file = PartlyReadFile::open(path);
            if (!file) continue;
            // The line that this may cut is no JSON then.
            const std::uint64_t from = status.size - begin > mostBytes ? status.size - mostBytes : begin;
            LinesFromEnd lines(
                [&](std::uint64_t offset, std::size_t length) { return file->read(offset, length); });
            begin = std::max(begin, lines.go(from, status.size, [&](std::string_view line) {
                const auto figures = parse(line);
                take(figures);
                return !figures.empty();
            }));
        }
        readUpTo[path.string()] = begin;
    }
    readUpTo_ = std::move(readUpTo);
    std::vector<UsageFigure> newest;
    for (const auto& [id, figure] : figures_)
        newest.push_back(figure);
    return newest;
}

} // namespace quorvik
