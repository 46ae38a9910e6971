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

std::string_view trimmed(std::string_view text) {
    return Unicode::trimmed(text, Unicode::isWhitespace);
}

/// The first line that is more than white space; empty when there is none.
std::string_view firstLine(std::string_view prompt) {
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

/// Enough letters and digits to tell a task by.
bool saysEnough(std::string_view judged) {
    bool ideographic = false;
    for (std::string_view rest = judged; !rest.empty();) {
        const Unicode::Scalar scalar = Unicode::firstScalar(rest);
        ideographic = ideographic || scalar.value >= firstIdeographicScalar;
        rest.remove_prefix(scalar.length);
    }
    std::size_t count = 0;
    while (!judged.empty()) {
        const char32_t scalar = Unicode::firstScalar(Unicode::takeCharacter(judged)).value;
        if (Unicode::isLetter(scalar) || Unicode::isDigit(scalar)) ++count;
    }
    return count >= (ideographic ? 2u : 3u);
}

} // namespace

std::optional<std::string> make(std::optional<std::string_view> prompt,
                                std::optional<std::string_view> source,
                                std::optional<std::string_view> projectDir) {
    if (!prompt || source == expandedSlashCommand) return std::nullopt;
    const std::string text = Unicode::repaired(*prompt);
    const std::string_view line = firstLine(text);
    if (line.empty()) return std::nullopt;
    if (line.front() == '/' && line.find(' ') == std::string_view::npos) return std::nullopt;

    const std::string collapsed = blanksCollapsed(line);
    const std::string_view title = withoutMarkdownMarks(collapsed);
    const std::string judged = Unicode::lowercased(Unicode::trimmed(title, [](char32_t scalar) {
        return Unicode::isWhitespace(scalar) || Unicode::isPunctuation(scalar);
    }));
    if (isFiller(judged) || !saysEnough(judged)) return std::nullopt;

    std::string redacted = Redactor::redact(title, projectDir);
    if (redacted.empty()) return std::nullopt;
    return redacted;
}

} // namespace quorvik::TaskTitle
