#include "QuorvikCore/Session/TaskTitle.h"

#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unordered_set>

namespace quorvik::TaskTitle {

namespace {

constexpr std::string_view expandedSlashCommand = "slash_command_expansion";
constexpr std::string_view markdownMarks[] = {"#", ">", "*", "-", "•"};
constexpr char32_t firstIdeographicScalar = 0x2E80; // CJK Radicals Supplement

bool isFiller(const std::string& text) {
    static const std::unordered_set<std::string> fillers = {
        "y",         "n",        "yes",      "no",      "ok",    "okay",  "k",      "sure",   "go",
        "go on",     "go ahead", "continue", "proceed", "next",  "retry", "again",  "thanks", "thank you",
        "thx",       "done",     "stop",     "good",    "great", "nice",  "lgtm",   "do it",  "yes please",
        "try again", "好",       "好的",     "好吧",    "可以",  "行",    "是",     "是的",   "对",
        "嗯",        "嗯嗯",     "继续",     "继续吧",  "确认",  "开始",  "开始吧", "重试",   "再试一次",
        "谢谢",      "多谢",     "下一个",   "没问题",  "不用",  "不要",  "停",     "停止"};
    return fillers.contains(text);
}

constexpr std::size_t longerThanFillers = 64; // bytes

std::string_view trimmed(std::string_view text) {
    return Unicode::trimmed(text, Unicode::isWhitespace);
}

/// The first line that is more than white space, taken off the front with all before it; empty when there is
/// none.
std::string_view takeFirstLine(std::string_view& prompt) {
    while (!prompt.empty()) {
        const std::string_view line = trimmed(Unicode::takeLine(prompt));
        if (!line.empty()) return line;
    }
    return {};
}

std::string blanksCollapsed(std::string_view line) {
    std::string result;
    bool inBlanks = false;
    while (!line.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(line);
        const bool blank = Unicode::isWhitespaceOrNewline(scalar.value);
        if (!blank)
            result += line.substr(0, scalar.length);
        else if (!inBlanks)
            result += ' ';
        inBlanks = blank;
        line.remove_prefix(scalar.length);
    }
    return result;
}

std::string_view withoutMarkdownMarks(std::string_view line) {
    for (;;) {
        std::string_view rest = line;
        const std::string_view first = rest.empty() ? rest : Unicode::takeCharacter(rest);
        bool isMark = false;
        for (const std::string_view mark : markdownMarks)
            isMark = isMark || first == mark;
        if (!isMark) return line;
        line = trimmed(rest);
    }
}

/// The number of letters and digits, counted up to `limit`.
std::size_t letterCount(std::string_view text, std::size_t limit) {
    std::size_t count = 0;
    while (count < limit && !text.empty()) {
        const char32_t scalar = Unicode::firstScalar(Unicode::takeCharacter(text)).value;
        if (Unicode::isLetter(scalar) || Unicode::isDigit(scalar)) ++count;
    }
    return count;
}

bool isIdeographic(std::string_view text) {
    while (!text.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        if (scalar.value >= firstIdeographicScalar) return true;
        text.remove_prefix(scalar.length);
    }
    return false;
}

std::string_view judgedPart(std::string_view title) {
    return Unicode::trimmed(title, [](char32_t scalar) {
        return Unicode::isWhitespace(scalar) || Unicode::isPunctuation(scalar);
    });
}

/// Whether the title says something about the task: it has enough letters and digits, and is no filler.
bool saysEnough(std::string_view title) {
    const std::string_view judged = judgedPart(title);
    const bool hasLetters = letterCount(judged, 3) == 3;
    if (hasLetters && judged.size() > longerThanFillers) return true;
    const std::string lowercased = Unicode::lowercased(judged);
    if (isFiller(lowercased)) return false;
    return hasLetters || (letterCount(lowercased, 2) == 2 && isIdeographic(lowercased));
}

/// The outer value is absent when the result depends on what follows the known start of the prompt. The inner
/// one is the title, absent when there is none.
using Settled = std::optional<std::optional<std::string>>;

Settled titleOf(std::string_view known, bool isWhole, std::optional<std::string_view> projectDir) {
    const std::optional<std::string> none;
    if (!isWhole) Unicode::takeLastScalar(known); // it may be a part of one
    const std::string text = Unicode::repaired(known);
    std::string_view rest = text;
    const std::string_view line = takeFirstLine(rest);
    const bool isWholeLine = isWhole || !rest.empty();
    const auto settled = [&](bool isSettled) { return isWholeLine || isSettled; };
    if (!settled(!line.empty())) return std::nullopt;
    if (line.empty()) return none;
    const bool hasSpace = line.find(' ') != line.npos;
    if (!settled(hasSpace || line.front() != '/')) return std::nullopt;
    if (line.front() == '/' && !hasSpace) return none;

    const std::string collapsed = blanksCollapsed(line);
    const std::string_view title = withoutMarkdownMarks(collapsed);
    const bool isTelling = saysEnough(title);
    // A title this long is no filler, whatever follows.
    if (!settled(isTelling && judgedPart(title).size() > longerThanFillers)) return std::nullopt;
    if (!isTelling) return none;
    std::optional<std::string> redacted =
        isWholeLine ? Redactor::redact(title, projectDir) : Redactor::redactStart(title, projectDir);
    if (!redacted) return std::nullopt;
    return redacted->empty() ? none : redacted;
}

} // namespace

std::optional<std::string> make(std::optional<std::string_view> prompt,
                                std::optional<std::string_view> source,
                                std::optional<std::string_view> projectDir) {
    if (!prompt || source == expandedSlashCommand) return std::nullopt;
    // Most long prompts have their title in the beginning.
    for (std::size_t size = 4096; size < prompt->size(); size *= 16)
        if (auto title = titleOf(prompt->substr(0, size), false, projectDir)) return *title;
    return titleOf(*prompt, true, projectDir).value_or(std::nullopt);
}

} // namespace quorvik::TaskTitle
