#include "QuorvikCore/Activity/ErrorScanner.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace quorvik {

namespace {

constexpr std::size_t maxPendingCharacters = 4096;
constexpr std::size_t maxPendingBytes = 64 * 1024;
constexpr std::size_t maxLineCharacters = 200;
constexpr char escape = '\x1B';
constexpr auto npos = std::string_view::npos;

/// The first lone line feed at or after `from`; `before` is what precedes the text.
std::size_t findLineFeed(std::string_view text, std::size_t from, char before = '\0') {
    for (auto at = text.find('\n', from); at != npos; at = text.find('\n', at + 1)) {
        if ((at > 0 ? text[at - 1] : before) != '\r') return at;
    }
    return npos;
}

/// The last lone line feed before `end`, in a text that begins where a line does.
std::size_t findLastLineFeed(std::string_view text, std::size_t end) {
    while (end > 0) {
        --end;
        if (text[end] == '\n' && (end == 0 || text[end - 1] != '\r')) return end;
    }
    return npos;
}

/// Where the line that holds the byte `at` begins, in a text that begins where a line does.
std::size_t startOfLine(std::string_view text, std::size_t at) {
    const std::size_t before = findLastLineFeed(text, at);
    return before == npos ? 0 : before + 1;
}

/// The first line, taken off the front together with the line feed behind it.
std::string_view takeLine(std::string_view& lines) {
    const std::size_t end = std::min(findLineFeed(lines, 0), lines.size());
    const std::string_view line = lines.substr(0, end);
    lines.remove_prefix(std::min(end + 1, lines.size()));
    return line;
}

unsigned char lower(char c) {
    return static_cast<unsigned char>(c | 0x20);
}

/// Whether cleaning drops this character, or takes it for the start of a control sequence.
bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\t';
}

// A line that looks like an error holds one of the words as it stands, or else a control character: cleaning
// may bring the pieces of a word together. Each word has three bytes that are rare elsewhere.

/// Whether nothing but blanks and tabs stands between the start of a line and `at`. A line feed is a lone one
/// where no control character has been met.
bool beginsLine(std::string_view text, std::size_t at) {
    while (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '\t'))
        --at;
    return at == 0 || text[at - 1] == '\n';
}

/// Whether one of the words stands around the three bytes at `rare`.
bool isWordAt(std::string_view text, std::size_t rare) {
    const auto standsAt = [&](std::size_t offset, std::string_view word) {
        return rare >= offset && std::ranges::equal(text.substr(rare - offset, word.size()), word, {}, lower);
    };
    switch (lower(text[rare])) {
    case 'r': return standsAt(1, "error");
    case 'f':
        return standsAt(0, "failed") || standsAt(0, "fatal") ||
               (standsAt(0, "fail ") && beginsLine(text, rare));
    case 's': return standsAt(1, "assertion");
    default: return true; // the three bytes are all of "✖" or "✗"
    }
}

constexpr std::size_t blockSize = 64;
constexpr std::size_t rareBytes = 3;
/// What findTelling() looks at to judge the positions of one block.
constexpr std::size_t blockReach = blockSize + rareBytes - 1;

/// Sets `hits` to 1 where a control character (but the line feed and the tab) stands or the three rare bytes
/// of a word begin; false when there is none. Without branches: compilers make a few vector instructions of
/// this.
bool markBlock(const char* block, std::array<unsigned char, blockSize>& hits) {
    unsigned char any = 0;
    for (std::size_t index = 0; index < blockSize; ++index) {
        const auto a = static_cast<unsigned char>(block[index]);
        const auto b = static_cast<unsigned char>(block[index + 1]);
        const auto c = static_cast<unsigned char>(block[index + 2]);
        const unsigned char x = a | 0x20, y = b | 0x20, z = c | 0x20;
        hits[index] = static_cast<unsigned char>(
            ((x == 'r') & (y == 'r') & (z == 'o')) | ((x == 'f') & (y == 'a') & ((z == 'i') | (z == 't'))) |
            ((x == 's') & (y == 's') & (z == 'e')) | ((a == 0xE2) & (b == 0x9C) & ((c & 0xFE) == 0x96)) |
            ((a < 0x20) & (a != '\n') & (a != '\t')));
        any = static_cast<unsigned char>(any | hits[index]);
    }
    return any != 0;
}

/// Where the next control character (but the line feed and the tab), or word, is that an error line may have.
std::size_t findTelling(std::string_view text, std::size_t from) {
    std::array<unsigned char, blockSize> hits;
    for (; from < text.size(); from += blockSize) {
        const std::size_t left = text.size() - from;
        char end[blockReach] = {};
        const char* block = text.data() + from;
        if (left < blockReach) block = static_cast<const char*>(std::memcpy(end, block, left));
        if (!markBlock(block, hits)) continue;
        for (std::size_t index = 0; index < std::min(left, blockSize); ++index) {
            if (hits[index] == 0) continue;
            if (isControl(text[from + index]) || isWordAt(text, from + index)) return from + index;
        }
    }
    return npos;
}

/// Removes what belongs to an ESC: the character after it, or a control sequence.
void dropSequence(std::string_view& afterEscape) {
    // One byte is one character where it and the next are ASCII.
    const auto startsWithASCII = [&] {
        return ((afterEscape[0] | (afterEscape.size() > 1 ? afterEscape[1] : 0)) & 0x80) == 0;
    };
    if (afterEscape.empty()) return;
    if (afterEscape[0] == '[' && startsWithASCII())
        afterEscape.remove_prefix(1);
    else if (Unicode::takeCharacter(afterEscape).front() != '[')
        return;
    while (!afterEscape.empty()) {
        char32_t scalar = static_cast<unsigned char>(afterEscape[0]);
        if (startsWithASCII())
            afterEscape.remove_prefix(1);
        else
            scalar = Unicode::firstScalar(Unicode::takeCharacter(afterEscape)).value;
        if (scalar >= '@' && scalar <= '~') return;
    }
}

/// The length of a control sequence of the usual kind behind its ESC ("[0;32m"); 0 for anything else, which
/// dropSequence() decides.
std::size_t lengthOfUsualSequence(std::string_view afterEscape) {
    if (!afterEscape.starts_with('[')) return 0;
    std::size_t at = 1;
    while (at < afterEscape.size() && afterEscape[at] >= '0' && afterEscape[at] <= ';')
        ++at;
    if (at >= afterEscape.size() || afterEscape[at] < '@' || afterEscape[at] > '~') return 0;
    ++at;
    // A mark behind the last letter would belong to it.
    return at < afterEscape.size() && static_cast<unsigned char>(afterEscape[at]) >= 0x80 ? 0 : at;
}

enum class Feeds {
    dropped, ///< the text is one line
    kept,    ///< lone line feeds end lines
};

/// What a terminal would leave of the text, whose last line gets a line feed where they are kept. No
/// character of several bytes holds a control character, so only control characters need a look.
std::string visible(std::string_view text, Feeds feeds) {
    std::string result(text.size() + 1, '\0');
    char* first = result.data(); // of this line
    char* out = first;
    constexpr std::uint64_t each = 0x0101010101010101; // byte of eight
    while (!text.empty()) {
        for (std::uint64_t eight; text.size() >= sizeof eight; text.remove_prefix(sizeof eight)) {
            std::memcpy(&eight, text.data(), sizeof eight);
            if (((eight - each * 0x20) & ~eight & (each * 0x80)) != 0) break; // one is below 0x20
            std::memcpy(out, &eight, sizeof eight);
            out += sizeof eight;
        }
        if (text.empty()) break;
        const char c = text.front();
        text.remove_prefix(1);
        if (!isControl(c)) {
            *out++ = c;
        } else if (c == escape) {
            std::size_t length = lengthOfUsualSequence(text);
            if (length == 0) {
                // A sequence does not go on in the next line.
                std::string_view rest = text;
                if (feeds == Feeds::kept) rest = rest.substr(0, findLineFeed(rest, 0, c));
                const std::size_t before = rest.size();
                dropSequence(rest);
                length = before - rest.size();
            }
            text.remove_prefix(length);
        } else if (c == '\r') {
            if (text.starts_with('\n'))
                text.remove_prefix(1);
            else
                out = first;
        } else if (c == '\n' && feeds == Feeds::kept) {
            *out++ = c;
            first = out;
        }
    }
    if (feeds == Feeds::kept && out != first) *out++ = '\n';
    result.resize(static_cast<std::size_t>(out - result.data()));
    return result;
}

bool containsErrorWord(std::string_view lowered) {
    for (const std::string_view word : {"error", "failed", "fatal", "assertion", "✖", "✗"}) {
        if (lowered.find(word) != npos) return true;
    }
    return lowered.starts_with("fail ");
}

/// The first line that looks like an error, cleaned; absent when there is none. The lines are searched as
/// they are up to the first control character (other than line feed and tab). From that line on, the search
/// is in the text that a terminal would leave of them.
std::optional<std::string> firstErrorLine(std::string_view lines) {
    std::string shown;
    std::string_view searched = lines;
    std::size_t passed = 0; // where the line in `searched` begins with which `lines` begins
    for (std::size_t at = 0; (at = findTelling(searched, at)) != npos;) {
        const std::size_t start = startOfLine(searched, at);
        if (isControl(searched[at])) { // once only: what is visible has none
            lines = searched.substr(start);
            shown = visible(lines, Feeds::kept);
            searched = shown;
            at = passed = 0;
            continue;
        }
        // The original line decides: dropping a control sequence may join bytes that are no UTF-8 to a
        // character.
        std::string_view line = searched.substr(start);
        if (!shown.empty()) {
            for (; passed < start; passed = searched.find('\n', passed) + 1)
                takeLine(lines);
            line = lines;
        }
        std::string cleaned = ErrorScanner::clean(takeLine(line));
        if (ErrorScanner::looksLikeError(cleaned)) return cleaned;
        at = std::min(findLineFeed(searched, at), searched.size());
    }
    return std::nullopt;
}

/// The length of the text without a UTF-8 sequence that its end cuts off.
std::size_t lengthOfWholeSequences(std::string_view text) {
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
        const auto lead = static_cast<unsigned char>(text[text.size() - back]);
        if (lead < 0x80) break;
        if (lead < 0xC0) continue;
        const auto scalar = Unicode::firstScalar(text.substr(text.size() - back));
        if (!scalar.valid && scalar.length == back) return text.size() - back;
        break;
    }
    return text.size();
}

} // namespace

void ErrorScanner::feed(std::string_view chunk, bool isStderr) {
    std::string& unfinished = pending_[isStderr];
    const std::size_t first = findLineFeed(chunk, 0, unfinished.empty() ? '\0' : unfinished.back());
    if (first == npos) {
        appendPending(chunk, isStderr);
        return;
    }
    std::string finished; // by this chunk, begun by earlier ones
    if (!unfinished.empty()) {
        finished = Unicode::lastCharacters(unfinished, maxPendingCharacters);
        finished += chunk.substr(0, first);
        unfinished.clear();
        chunk.remove_prefix(first + 1);
        lookForErrors(finished, isStderr);
    }
    const std::size_t last = findLastLineFeed(chunk, chunk.size());
    const std::string_view lines = last == npos ? std::string_view() : chunk.substr(0, last);
    lookForErrors(lines, isStderr);
    if (!lookForLastLine(lines)) lookForLastLine(finished);
    if (last != npos) chunk.remove_prefix(last + 1);
    appendPending(chunk, isStderr);
}

void ErrorScanner::finish() {
    for (const bool isStderr : {false, true}) {
        const std::string line = pending(isStderr);
        pending_[isStderr].clear();
        lookForErrors(line, isStderr);
        lookForLastLine(line);
    }
}

const std::optional<std::string>& ErrorScanner::best() const {
    if (firstError) return firstError;
    return firstStderr ? firstStderr : lastLine;
}

std::string ErrorScanner::pending(bool isStderr) const {
    return Unicode::repaired(Unicode::lastCharacters(pending_[isStderr], maxPendingCharacters));
}

void ErrorScanner::appendPending(std::string_view text, bool isStderr) {
    std::string& unfinished = pending_[isStderr];
    const std::size_t whole = lengthOfWholeSequences(text);
    unfinished += text.substr(0, whole);
    if (whole < text.size()) Unicode::append(unfinished, 0xFFFD);

    if (unfinished.size() <= 2 * maxPendingBytes) return; // cut now and then, not after every chunk
    std::string_view kept = Unicode::lastCharacters(unfinished, maxPendingCharacters);
    if (kept.size() > maxPendingBytes) kept.remove_prefix(kept.size() - maxPendingBytes);
    unfinished = std::string(kept);
}

void ErrorScanner::lookForErrors(std::string_view lines, bool isStderr) {
    if (!firstError) firstError = firstErrorLine(lines);
    while (isStderr && !firstStderr && !lines.empty()) {
        if (std::string line = clean(takeLine(lines)); !line.empty()) firstStderr = std::move(line);
    }
}

bool ErrorScanner::lookForLastLine(std::string_view lines) {
    for (;;) {
        const std::size_t end = lines.find_last_not_of(" \t\n") + 1;
        if (end == 0) return false;
        const bool cutsCRLF = lines[end - 1] == '\r' && end < lines.size() && lines[end] == '\n';
        lines = lines.substr(0, end + (cutsCRLF ? 1 : 0));
        const std::size_t start = startOfLine(lines, lines.size());
        if (std::string line = clean(lines.substr(start)); !line.empty()) {
            lastLine = std::move(line);
            return true;
        }
        lines = lines.substr(0, start);
    }
}

std::string ErrorScanner::clean(std::string_view line) {
    const std::string kept =
        visible(Unicode::isValid(line) ? line : std::string_view(Unicode::repaired(line)), Feeds::dropped);
    std::string_view trimmed =
        Unicode::trimmed(kept, [](char32_t scalar) { return scalar == ' ' || scalar == '\t'; });
    if (Unicode::characterCount(trimmed, maxLineCharacters + 1) <= maxLineCharacters)
        return std::string(trimmed);
    return std::string(Unicode::firstCharacters(trimmed, maxLineCharacters)) + "…";
}

bool ErrorScanner::looksLikeError(std::string_view line) {
    return containsErrorWord(Unicode::lowercased(line));
}

} // namespace quorvik
