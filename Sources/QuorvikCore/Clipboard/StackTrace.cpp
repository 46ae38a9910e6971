#include "QuorvikCore/Clipboard/StackTrace.h"

#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/ScalarSet.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <span>
#include <vector>

namespace quorvik::StackTrace {

namespace {

using Lines = std::vector<std::string_view>;

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != text.npos;
}

bool isNoSpace(char32_t scalar) {
    return !Regex::isSpace(scalar);
}
bool isNoWord(char32_t scalar) {
    return !Regex::isWord(scalar);
}

constexpr ScalarSet space{CharacterSet(" \t\n\v\f\r"), Regex::isSpace};
constexpr ScalarSet inName{CharacterSet("A-Za-z0-9_.$"), Regex::isWord};
constexpr ScalarSet outsideName{
    CharacterSet::allBut("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.$"), isNoWord};
constexpr ScalarSet inUnixFolder{CharacterSet::allBut("/ \t\n\v\f\r\"')"), isNoSpace};
constexpr ScalarSet inWindowsFolder{CharacterSet::allBut("\\ \t\n\v\f\r\"')"), isNoSpace};
constexpr CharacterSet letter("A-Za-z"), wordStart("A-Za-z_");

/// `^\s+at\s+\S|^\s*File ".*", line \d+`
bool isFrame(std::string_view line) {
    constexpr std::string_view file = "File \"", lineNumber = "\", line ";
    std::string_view rest = line;
    const bool isIndented = space.takeFirst(rest) > 0;
    if (isIndented && rest.starts_with("at")) {
        rest.remove_prefix(2);
        return space.takeFirst(rest) > 0 && !rest.empty();
    }
    if (!rest.starts_with(file)) return false;
    rest.remove_prefix(file.size());
    for (std::size_t at = rest.find(lineNumber); at != rest.npos; at = rest.find(lineNumber, at + 1)) {
        const std::string_view number = rest.substr(at + lineNumber.size());
        if (!number.empty() && Unicode::isDigit(Unicode::firstScalar(number).value)) return true;
    }
    return false;
}

TraceAction traceOf(const Lines& kept, std::string_view exceptionLine, std::size_t omitted) {
    std::string cleaned;
    for (const std::string_view line : kept) {
        if (!cleaned.empty()) cleaned += '\n'; // the first line is never empty
        cleaned += line;
    }
    return {exceptionName(exceptionLine), withoutHome(cleaned), static_cast<std::int64_t>(omitted)};
}

void append(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

/// `lines` begin with the last traceback's header.
std::optional<TraceAction> tidyPython(std::span<const std::string_view> lines) {
    std::vector<Lines> frames;
    Lines tail; // the exception's message, and whatever comes after it
    for (const std::string_view line : lines.subspan(1)) {
        const bool isIndented = line.starts_with(' ') || line.starts_with('\t');
        if (tail.empty() && Unicode::trimmed(line, Unicode::isWhitespaceOrNewline).starts_with("File \""))
            frames.push_back({line});
        else if (tail.empty() && isIndented && !frames.empty())
            frames.back().push_back(line);
        else if (!line.empty())
            tail.push_back(line);
    }
    if (frames.empty()) return std::nullopt;

    const std::size_t omitted = frames.size() - std::min(frames.size(), keptFrames);
    const std::string marker = "  ... (" + std::to_string(omitted) + " earlier frames left out)";
    Lines kept = {lines.front()};
    if (omitted > 0) kept.push_back(marker);
    for (const Lines& frame : std::span(frames).subspan(omitted))
        append(kept, frame);
    append(kept, tail);

    const auto introducesAnother = [](std::string_view line) {
        return line.starts_with("During handling") || line.starts_with("The above exception");
    };
    std::string_view exceptionLine = tail.empty() ? std::string_view() : tail.back();
    const auto last = std::find_if_not(tail.rbegin(), tail.rend(), introducesAnother);
    if (last != tail.rend()) exceptionLine = *last;
    return traceOf(kept, exceptionLine, omitted);
}

/// Frames of the "at …" kind, from the first one on; what comes before them is the header.
std::optional<TraceAction> tidyOther(std::span<const std::string_view> lines) {
    const auto first = std::ranges::find_if(lines, isFrame);
    if (first == lines.end()) return std::nullopt;
    Lines kept;
    std::ranges::copy_if(lines.begin(), first, std::back_inserter(kept), [](std::string_view line) {
        return !Unicode::trimmed(line, Unicode::isWhitespaceOrNewline).empty();
    });
    const std::string_view exceptionLine = kept.empty() ? std::string_view() : kept.front();

    const auto end = std::find_if_not(first, lines.end(), isFrame);
    const auto count = static_cast<std::size_t>(end - first);
    const std::size_t shown = std::min(count, keptFrames), omitted = count - shown;
    kept.insert(kept.end(), first, first + static_cast<std::ptrdiff_t>(shown));
    const std::string marker = "    ... (" + std::to_string(omitted) + " more frames left out)";
    if (omitted > 0) kept.push_back(marker);
    return traceOf(kept, exceptionLine, omitted);
}

/// Replaces the prefix, the user's name after it and the separator behind that. With `needsDrive` a drive's
/// letter must stand before the prefix, and is replaced too.
std::string withoutHome(std::string_view text, std::string_view prefix, const ScalarSet& inFolder,
                        char separator, std::string_view replacement, bool needsDrive = false) {
    std::string result;
    std::size_t copied = 0; // bytes of `text` that are dealt with
    for (std::size_t at = text.find(prefix); at != text.npos; at = text.find(prefix, at)) {
        std::string_view rest = text.substr(at + prefix.size());
        const bool hasName = inFolder.takeFirst(rest) > 0;
        const bool hasDrive = !needsDrive || (at > copied && letter.contains(text[at - 1]));
        if (!hasDrive || !hasName || !rest.starts_with(separator)) {
            ++at;
            continue;
        }
        const std::size_t start = needsDrive ? at - 1 : at;
        result.append(text.substr(copied, start - copied)).append(replacement);
        copied = at = text.size() - rest.size() + 1;
    }
    return result.append(text.substr(copied));
}

} // namespace

std::optional<TraceAction> tidyTrace(std::string_view text) {
    constexpr std::string_view pythonHeader = "Traceback (most recent call last)";
    constexpr std::size_t fewestLines = 3;
    constexpr auto fewestFrames = 2;
    if (!contains(text, "Error") && !contains(text, "Exception") && !contains(text, "Traceback"))
        return std::nullopt;
    Lines lines;
    for (std::string_view rest = text; !rest.empty();)
        lines.push_back(Unicode::takeLine(rest));
    if (lines.size() < fewestLines || std::ranges::count_if(lines, isFrame) < fewestFrames)
        return std::nullopt;

    const auto header = std::find_if(lines.rbegin(), lines.rend(),
                                     [&](std::string_view line) { return line.starts_with(pythonHeader); });
    if (header == lines.rend()) return tidyOther(lines);
    return tidyPython(std::span(lines).subspan(static_cast<std::size_t>(lines.rend() - header) - 1));
}

std::string exceptionName(std::string_view line) {
    // `([A-Za-z_][\w.$]*(?:Error|Exception))`: in each run of such characters, from the first one that may
    // begin a name to the last ending.
    for (std::string_view rest = line; !rest.empty(); outsideName.takeFirst(rest)) {
        std::string_view run = rest;
        inName.takeFirst(rest);
        run.remove_suffix(rest.size());
        run.remove_prefix(static_cast<std::size_t>(
            std::ranges::find_if(run, [](char byte) { return wordStart.contains(byte); }) - run.begin()));
        std::size_t end = 0;
        for (const std::string_view ending : {std::string_view("Error"), std::string_view("Exception")}) {
            const std::size_t at = run.rfind(ending);
            if (at != run.npos && at > 0) end = std::max(end, at + ending.size());
        }
        if (end > 0) return std::string(run.substr(0, end));
    }

    const auto separates = [](char32_t scalar) {
        return scalar == ':' || Unicode::isWhitespaceOrNewline(scalar);
    };
    std::string_view rest = Unicode::trimmed(line, separates);
    const std::string_view piece = rest;
    while (!rest.empty() && !separates(Unicode::firstScalar(rest).value))
        rest.remove_prefix(Unicode::firstScalar(rest).length);
    if (piece.empty()) return "Trace";
    return std::string(piece.substr(0, piece.size() - rest.size()));
}

std::string withoutHome(std::string_view text) {
    const std::string first = withoutHome(text, "/Users/", inUnixFolder, '/', "~/");
    const std::string second = withoutHome(first, "/home/", inUnixFolder, '/', "~/");
    return withoutHome(second, ":\\Users\\", inWindowsFolder, '\\', "~\\", true);
}

} // namespace quorvik::StackTrace
