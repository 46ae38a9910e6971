#include "QuorvikCore/Activity/ErrorScanner.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

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

/// The last lone line feed before `end`; the first character of the text does not count as one.
std::size_t findLastLineFeed(std::string_view text, std::size_t end) {
    while (end > 1) {
        --end;
        if (text[end] == '\n' && text[end - 1] != '\r') return end;
    }
    return npos;
}

unsigned char lower(char c) {
    return static_cast<unsigned char>(c | 0x20);
}

// A line that looks like an error holds, before it is cleaned, one of the words as it stands, or else a
// control character (cleaning may bring the pieces of a word together). Each word has a pair of bytes that is
// rare elsewhere.

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t';
}

/// Whether one of the words stands around a pair of bytes that may belong to one.
bool isWordAt(std::string_view text, std::size_t pair) {
    const auto standsAt = [&](std::size_t offset, std::string_view word) {
        if (pair < offset) return false;
        const std::string_view there = text.substr(pair - offset, word.size());
        return std::ranges::equal(there, word, {}, lower);
    };
    switch (lower(text[pair])) {
    case 'r': return standsAt(1, "error");
    case 'f': return standsAt(0, "fail") || standsAt(0, "fatal");
    case 's': return standsAt(1, "assertion");
    default: return text.substr(pair, 3) == "✖" || text.substr(pair, 3) == "✗";
    }
}

bool isTellingPair(char a, char b) {
    const unsigned char x = lower(a), y = lower(b);
    return (x == 'r' && y == 'r') || (x == 'f' && y == 'a') || (x == 's' && y == 's') ||
           (a == '\xE2' && b == '\x9C');
}

constexpr std::size_t blockSize = 64;

/// The same for every pair that begins in a block, without branches: compilers turn this into a few vector
/// instructions.
bool blockHasTellingByte(const char* block) {
    unsigned hits = 0;
    for (std::size_t index = 0; index < blockSize; ++index) {
        const unsigned char a = static_cast<unsigned char>(block[index]);
        const unsigned char b = static_cast<unsigned char>(block[index + 1]);
        const unsigned char x = a | 0x20, y = b | 0x20;
        hits |= static_cast<unsigned char>(((x == 'r') & (y == 'r')) | ((x == 'f') & (y == 'a')) |
                                           ((x == 's') & (y == 's')) | ((a == 0xE2) & (b == 0x9C)) |
                                           ((a < 0x20) & (a != '\n') & (a != '\t')));
    }
    return hits != 0;
}

/// Where the next control character, or word, is that an error line may have.
std::size_t findTellingByte(std::string_view text, std::size_t from) {
    while (from + 1 < text.size()) {
        if (from + blockSize < text.size() && !blockHasTellingByte(text.data() + from)) {
            from += blockSize;
            continue;
        }
        const std::size_t end = std::min(from + blockSize, text.size() - 1);
        for (; from < end; ++from) {
            if (isControl(text[from])) return from;
            if (isTellingPair(text[from], text[from + 1]) && isWordAt(text, from)) return from;
        }
    }
    return npos;
}

bool containsErrorWord(std::string_view lowered) {
    for (const std::string_view word : {"error", "failed", "fatal", "assertion", "✖", "✗"}) {
        if (lowered.find(word) != npos) return true;
    }
    return lowered.starts_with("fail ");
}

/// False only when the line cannot look like an error, whatever cleaning does to it. Cleans roughly, byte by
/// byte: what is left holds all that a thorough cleaning leaves, in one piece, and perhaps more.
bool mayLookLikeError(std::string_view line, std::string& scratch) {
    const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    scratch.clear();
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (c == escape) {
            // The characters of a control sequence, unless they are made of more than a byte: then better
            // look closely.
            bool inSequence = at + 1 < line.size() && line[at + 1] == '[';
            ++at;
            while (inSequence && ++at < line.size()) {
                if (!isASCII(line[at])) return true;
                inSequence = line[at] < '@' || line[at] > '~';
            }
            if ((at < line.size() && !isASCII(line[at])) || (at + 1 < line.size() && !isASCII(line[at + 1])))
                return true;
        } else if (!isControl(c)) {
            scratch += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        }
    }
    return containsErrorWord(scratch) || scratch.find("fail ") != npos;
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
    if (first != npos) {
        consume(pending(isStderr) + Unicode::repaired(chunk.substr(0, first)), isStderr);
        unfinished.clear();
        chunk.remove_prefix(first); // begins with a line feed
        if (const std::size_t last = findLastLineFeed(chunk, chunk.size()); last != npos) {
            scanCompleteLines(chunk.substr(0, last + 1), isStderr);
            chunk.remove_prefix(last);
        }
        chunk.remove_prefix(1);
    }
    appendPending(chunk, isStderr);
}

void ErrorScanner::finish() {
    for (const bool isStderr : {false, true}) {
        if (!pending_[isStderr].empty()) consume(pending(isStderr), isStderr);
        pending_[isStderr].clear();
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

/// One line: what each of the three fields wants of it.
void ErrorScanner::consume(std::string_view line, bool isStderr) {
    std::string cleaned = clean(line);
    if (cleaned.empty()) return;
    if (isStderr && !firstStderr) firstStderr = cleaned;
    if (!firstError && looksLikeError(cleaned)) firstError = cleaned;
    lastLine = std::move(cleaned);
}

/// The same for many lines: a line feed, then lines that each end with one.
void ErrorScanner::scanCompleteLines(std::string_view lines, bool isStderr) {
    if (isStderr) {
        for (std::size_t start = 1; !firstStderr && start < lines.size();) {
            const std::size_t end = findLineFeed(lines, start);
            if (std::string line = clean(lines.substr(start, end - start)); !line.empty()) firstStderr = line;
            start = end + 1;
        }
    }
    std::string scratch;
    for (std::size_t at = 0; !firstError && (at = findTellingByte(lines, at)) != npos;) {
        const std::size_t before = findLastLineFeed(lines, at + 1);
        const std::size_t start = before == npos ? 1 : before + 1;
        const std::size_t end = findLineFeed(lines, at);
        const std::string_view line = lines.substr(start, end - start);
        if (mayLookLikeError(line, scratch)) {
            if (std::string cleaned = clean(line); looksLikeError(cleaned)) firstError = std::move(cleaned);
        }
        at = end;
    }
    for (std::size_t end = lines.size() - 1; end != npos && end > 0;) {
        const std::size_t before = findLastLineFeed(lines, end);
        const std::size_t start = before == npos ? 1 : before + 1;
        if (std::string line = clean(lines.substr(start, end - start)); !line.empty()) {
            lastLine = std::move(line);
            break;
        }
        end = before;
    }
}

std::string ErrorScanner::clean(std::string_view line) {
    const std::string text = Unicode::repaired(line);
    std::string kept;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view character = Unicode::takeCharacter(rest);
        const char first = character.front();
        if (first == escape) {
            if (rest.empty() || Unicode::takeCharacter(rest).front() != '[') continue;
            while (!rest.empty()) {
                const char32_t scalar = Unicode::firstScalar(Unicode::takeCharacter(rest)).value;
                if (scalar >= '@' && scalar <= '~') break;
            }
        } else if (character == "\r") {
            kept.clear();
        } else if (character != "\r\n" && (static_cast<unsigned char>(first) >= 0x20 || first == '\t')) {
            kept += character;
        }
    }
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
