#include "QuorvikCore/Text/Redactor.h"

#include "QuorvikCore/Platform/BlockSearch.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Text/SecretSearch.h"
#include "QuorvikCore/Text/ShellReader.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <span>

namespace quorvik::Redactor {

namespace {

constexpr std::string_view stars = "***";
constexpr std::size_t maxCharacters = 80;
constexpr std::size_t maxBytes = 4096;   // a character may be made of any number of them
constexpr double minSecretEntropy = 3.5; // bits per character

using Rules = std::span<const SecretRule>; // in the order in which they are applied
constexpr SecretRule summaryRules[] = {SecretRule::authorization, SecretRule::bearer,
                                       SecretRule::option,        SecretRule::assignment,
                                       SecretRule::knownToken,    SecretRule::randomToken};
constexpr SecretRule credentialRules[] = {
    SecretRule::authorization, SecretRule::bearer,     SecretRule::option,    SecretRule::credential,
    SecretRule::passwordInURL, SecretRule::knownToken, SecretRule::randomPart};

using Stretch = VisibleText::Range;

bool isBlank(char32_t scalar) {
    return scalar == ' ' || scalar == '\t' || Unicode::isNewline(scalar);
}

/// The folders below which paths are shortened; with a slash at the end, or empty.
struct Folders {
    std::string project, home;

    explicit Folders(std::optional<std::string_view> projectDir)
        : project(completed(std::string(projectDir.value_or("")))), home(completed(Platform::homeFolder())) {}

    bool haveBlanks() const { return (project + home).find(' ') != std::string::npos; }

  private:
    static std::string completed(std::string folder) {
        if (folder.empty() || folder == "/") return "";
        if (folder.back() != '/') folder += '/';
        return Unicode::repaired(folder);
    }
};

/// A part of a line that differs from the text that the line was made from.
struct Edit {
    std::size_t at, length; ///< in the line
    Stretch original;       ///< what it stands for
    bool hides;
};

/// A text on its way through the steps of the redaction. Each step reads all of it, and writes it anew if it
/// changes something. The text may be only the known start of a longer one: a step then leaves out the part
/// at the end that what follows might change.
class Line {
  public:
    Line(std::string_view text, bool isWhole, bool remembersEdits = false)
        : text_(text), isWhole_(isWhole), remembersEdits_(remembersEdits) {}

    std::string_view text() const { return text_; }
    bool isWhole() const { return isWhole_; }
    const std::vector<Edit>& edits() const { return edits_; }

    /// Trims the text, and replaces what is not UTF-8.
    void tidy();

    /// A blank for each tab and line break.
    void makeOneLine();

    /// Paths below `folder` begin with `name` and a slash instead, or with neither when there is no name.
    void shortenPaths(std::string_view folder, std::string_view name);

    void hide(SecretRule rule);

    /// Drops all but so many bytes, of which there must not be more than there are.
    void cut(std::size_t size) { text_ = text_.substr(0, size); }

  private:
    std::size_t find(std::string_view folder, std::size_t from) const;
    std::size_t endOfRow(std::size_t at, std::size_t length) const;

    /// Writes the line anew, from left to right.
    class Rewrite {
      public:
        explicit Rewrite(Line& line) : line_(line) {}

        void keepTo(std::size_t end) {
            const std::size_t start = text_.size();
            text_.append(line_.text_, done_, end - done_);
            for (; hasEdit() && edit().at + edit().length <= end; pass()) {
                edits_.push_back(edit());
                edits_.back().at += start - done_;
            }
            done_ = end;
        }

        void replaceTo(std::size_t end, std::string_view with, bool hides) {
            const std::size_t first = done_ + shift_;
            while (hasEdit() && edit().at < end)
                pass();
            if (line_.remembersEdits_)
                edits_.push_back({text_.size(), with.size(), {first, end + shift_}, hides});
            text_ += with;
            done_ = end;
        }

        /// The line from here on: what was written, if anything, and the rest up to `end`.
        void finish(std::size_t end) {
            line_.isWhole_ = line_.isWhole_ && end == line_.text_.size();
            if (done_ == 0) {
                line_.text_ = line_.text_.substr(0, end);
                return;
            }
            keepTo(end);
            line_.keep(std::move(text_));
            line_.edits_ = std::move(edits_);
        }

      private:
        bool hasEdit() const { return next_ < line_.edits_.size(); }
        const Edit& edit() const { return line_.edits_[next_]; }
        void pass() {
            shift_ = edit().original.end - edit().at - edit().length;
            ++next_;
        }

        Line& line_;
        std::string text_;
        std::vector<Edit> edits_;
        std::size_t done_ = 0;  ///< of the line's text
        std::size_t next_ = 0;  ///< of the line's edits
        std::size_t shift_ = 0; ///< from there to the original text, modulo the size of all numbers
    };

    void keep(std::string text) {
        storage_ = std::move(text);
        text_ = storage_;
    }

    std::string_view text_;
    bool isWhole_;
    bool remembersEdits_;
    std::string storage_; ///< of the text, once it is not the caller's any more
    std::vector<Edit> edits_;
};

void Line::tidy() {
    if (!isWhole_ && !text_.empty()) Unicode::takeLastScalar(text_); // it may be a part of one
    text_ = Unicode::trimmed(text_, isBlank);                        // what follows may be blank as well
    if (!Unicode::isValid(text_)) keep(Unicode::repaired(text_));
}

void Line::makeOneLine() {
    if (std::ranges::none_of(text_, [](unsigned char c) { return (c >= 0x09 && c <= 0x0D) || c >= 0x80; }))
        return;
    std::string line;
    line.reserve(text_.size());
    for (std::string_view rest = text_; !rest.empty();) {
        const Unicode::Scalar scalar = Unicode::firstScalar(rest);
        if (isBlank(scalar.value))
            line += ' ';
        else
            line += rest.substr(0, scalar.length);
        rest.remove_prefix(scalar.length);
    }
    keep(std::move(line));
}

/// Like text_.find(), but fast where the folder's first character comes often: every path has slashes.
std::size_t Line::find(std::string_view folder, std::size_t from) const {
    using Platform::blockAt;
    for (;; ++from) {
        from = text_.find(folder[0], from); // fast over texts without paths
        if (from == text_.npos) return from;
        from = Platform::firstPosition(text_, from, 2, [&](const char* c) {
            return (blockAt(c) == folder[0]) & (blockAt(c + 1) == folder[1]);
        });
        if (text_.size() - from < folder.size()) return text_.npos;
        if (text_.compare(from, folder.size(), folder) == 0) return from;
    }
}

/// Where the piece of `length` characters that ends at `at` stops being repeated.
std::size_t Line::endOfRow(std::size_t at, std::size_t length) const {
    constexpr std::size_t block = Platform::blockSize;
    const char* const text = text_.data();
    while (length <= block && at + block <= text_.size() &&
           !Platform::isAny(Platform::blockAt(text + at) != Platform::blockAt(text + at - length)))
        at += block - block % length;
    while (text_.substr(at).starts_with(text_.substr(at - length, length)))
        at += length;
    return at;
}

void Line::shortenPaths(std::string_view folder, std::string_view name) {
    if (folder.empty()) return;
    Rewrite rewrite(*this);
    std::size_t known = 0; // what no hit can begin in any more
    for (;;) {
        const std::size_t hit = find(folder, known);
        if (hit == text_.npos) break;
        known = hit + folder.size();
        if (name.empty()) known = endOfRow(known, folder.size()); // a row of hits at the price of one
        rewrite.keepTo(hit);
        rewrite.replaceTo(known - (name.empty() ? 0 : 1), name, false);
    }
    if (isWhole_) return rewrite.finish(text_.size());
    std::string_view before = text_;
    before.remove_suffix(std::min(folder.size() - 1, text_.size())); // where one more may begin
    if (!before.empty()) Unicode::takeLastScalar(before);            // which may be cut
    rewrite.finish(std::max(known, before.size()));
}

void Line::hide(SecretRule rule) {
    constexpr std::string_view bearer = "Bearer";
    SecretSearch search(text_, isWhole_, rule);
    Rewrite rewrite(*this);
    while (const auto match = search.next()) {
        if (rule == SecretRule::bearer) {
            rewrite.keepTo(match->begin);
            rewrite.replaceTo(match->begin + bearer.size(), bearer, false);
            rewrite.replaceTo(match->value, " ", false);
        }
        rewrite.keepTo(match->value);
        rewrite.replaceTo(match->end, stars, true);
    }
    rewrite.finish(search.settledEnd());
}

/// Whether the text is nothing but letters and digits of ASCII.
bool isOneWord(std::string_view text) {
    return Platform::firstPosition(text, 0, 1, [](const char* from) {
               const auto block = Platform::blockAt(from);
               return ~(Platform::isBetween(block, '0', '9') | Platform::isBetween(block | 0x20, 'a', 'z'));
           }) == text.size();
}

/// Shortens paths and hides secrets in a tidy text.
void mask(Line& line, const Folders& folders, Rules rules) {
    if (line.isWhole() && isOneWord(line.text())) {
        // Folders have slashes, and all but tokens some sign. Of the known ones two begin with a letter and
        // are a word to their end: "AKIA…" and "AIza…".
        for (const SecretRule rule : rules)
            if (rule == SecretRule::randomToken || rule == SecretRule::randomPart ||
                (rule == SecretRule::knownToken && line.text().starts_with('A')))
                line.hide(rule);
        return;
    }
    line.shortenPaths(folders.project, "");
    line.shortenPaths(folders.home, "~");
    for (const SecretRule rule : rules)
        line.hide(rule);
}

/// Absent when the result depends on what follows the known start of the text.
std::optional<std::string> shortened(const Line& line) {
    std::string text(Unicode::firstCharacters(line.text(), maxCharacters - 1));
    // What follows may belong to the last known character, so that one does not count.
    const std::size_t more = line.isWhole() ? 1 : 2;
    if (Unicode::characterCount(line.text(), maxCharacters + more) == maxCharacters + more)
        text += "…";
    else if (line.isWhole())
        text = line.text();
    else if (text.size() <= maxBytes)
        return std::nullopt;
    if (text.size() > maxBytes) text = Unicode::repaired(std::string_view(text).substr(0, maxBytes));
    return text;
}

std::optional<std::string> shortForm(std::string_view text, bool isWhole,
                                     std::optional<std::string_view> projectDir) {
    const Folders folders(projectDir);
    Line line(text, isWhole);
    line.tidy();
    // Every step but those for folders treats a line break as a blank, so line breaks are replaced at the
    // end, when little is left of the text; before that only when a folder holds blanks.
    if (folders.haveBlanks()) line.makeOneLine();
    mask(line, folders, summaryRules);
    // A line break that becomes a blank may join a mark behind it, so twice as many characters are enough.
    line.cut(Unicode::firstCharacters(line.text(), 2 * maxCharacters + 8).size());
    line.makeOneLine();
    return shortened(line);
}

} // namespace

std::string redact(std::string_view text, std::optional<std::string_view> projectDir) {
    // Most long texts are cut long before their end, so their starts are tried first.
    for (std::size_t size = 4096; size < text.size() / 16; size *= 16)
        if (auto redacted = redactStart(text.substr(0, size), projectDir)) return *redacted;
    return shortForm(text, true, projectDir).value_or(std::string(stars));
}

std::optional<std::string> redactStart(std::string_view start, std::optional<std::string_view> projectDir) {
    return shortForm(start, false, projectDir);
}

std::vector<Stretch> secrets(std::string_view text, std::optional<std::string_view> projectDir) {
    Line line(text, true, true);
    mask(line, Folders(projectDir), credentialRules);
    std::vector<Stretch> found;
    ShellReader reader(text);
    for (const Edit& edit : line.edits()) {
        if (!edit.hides) continue;
        const std::size_t end = reader.endOfData(edit.original.begin, edit.original.end);
        if (end > edit.original.begin) found.push_back({edit.original.begin, end});
    }
    return found;
}

namespace {

/// How often each byte comes, as the sum over the tables, which are counted in turn: a processor waits when
/// it counts the same byte again at once.
using Counts = std::array<std::array<std::uint32_t, 256>, 4>;

/// Adds the bytes of the start of the text, two at a time, and takes them off it.
void countPairs(std::string_view& text, Counts& counts) {
    constexpr std::size_t all = 1u << 16, step = sizeof(std::uint64_t);
    std::vector<std::uint32_t> pairs(2 * all);
    for (; text.size() >= step; text.remove_prefix(step)) {
        std::uint64_t eight;
        std::memcpy(&eight, text.data(), step);
        ++pairs[eight % all];
        ++pairs[all + (eight >> 16) % all];
        ++pairs[(eight >> 32) % all];
        ++pairs[all + (eight >> 48)];
    }
    for (std::size_t pair = 0; pair < pairs.size(); ++pair) {
        counts[0][pair % 256] += pairs[pair];
        counts[1][pair / 256 % 256] += pairs[pair];
    }
}

} // namespace

bool looksSecret(std::string_view token) {
    constexpr std::size_t worthwhile = 1u << 20;
    const std::size_t length = token.size();
    Counts counts{};
    if (length >= worthwhile) countPairs(token, counts);
    for (std::size_t index = 0; index < token.size(); ++index)
        ++counts[index % 4][static_cast<unsigned char>(token[index])];
    bool digit = false, letter = false;
    double entropy = 0;
    for (unsigned byte = 0; byte < 256; ++byte) {
        const std::uint32_t count = counts[0][byte] + counts[1][byte] + counts[2][byte] + counts[3][byte];
        if (count == 0) continue;
        digit = digit || (byte >= '0' && byte <= '9');
        letter = letter || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        const double share = double(count) / double(length);
        entropy -= share * std::log2(share);
    }
    return digit && letter && entropy >= minSecretEntropy;
}

std::string replaceHighEntropy(std::string_view text) {
    Line line(text, true);
    line.hide(SecretRule::randomToken);
    return std::string(line.text());
}

} // namespace quorvik::Redactor
