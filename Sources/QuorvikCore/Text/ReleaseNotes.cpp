#include "QuorvikCore/Text/ReleaseNotes.h"

#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <optional>

// Each step is what one regular expression would replace, done by hand: on a megabyte of "<" the expressions
// take hours, or give up. Looking ahead for the end of a tag that has none is what would cost the time, so
// every such search goes through a LookAhead.

namespace quorvik::ReleaseNotes {

namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view bullet = "• ";
constexpr std::string_view ellipsis = "…";

constexpr std::string_view lineEnds[] = {"</li>",  "</p>", "</h1>", "</h2>",  "</h3>", "</h4>",
                                         "</div>", "<br>", "<br/>", "<br />", "</ul>", "</ol>"};

struct Entity {
    std::string_view name, text;
};
constexpr Entity entities[] = {{"&nbsp;", " "},  {"&lt;", "<"},  {"&gt;", ">"},
                               {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}};

/// The length of `word` (lower-case) at the start of the text, in any case; 0 when the text begins otherwise.
std::size_t wordLength(std::string_view text, std::string_view word) {
    std::string_view rest = text;
    return Regex::takeWord(rest, word) ? text.size() - rest.size() : 0;
}

/// Finds the next place with a given property, for starting points that never go back. So no byte is looked
/// at twice.
template <typename Find>
class LookAhead {
  public:
    explicit LookAhead(Find find) : find_(find) {}

    std::size_t from(std::size_t at) {
        if (!next_ || *next_ < at) next_ = find_(at);
        return *next_;
    }

  private:
    Find find_;
    std::optional<std::size_t> next_;
};

auto lookAhead(std::string_view text, char byte) {
    return LookAhead([text, byte](std::size_t at) { return text.find(byte, at); });
}

struct Replacement {
    std::size_t end; ///< of what is replaced
    std::string_view text;
};

/// The text with every match replaced, the leftmost first. `match` is asked at each `first` outside of
/// earlier matches and returns an optional Replacement.
template <typename Match>
std::string replaced(std::string_view text, char first, Match match) {
    std::string result;
    result.reserve(text.size());
    std::size_t copied = 0;
    for (auto at = text.find(first); at != npos; at = text.find(first, at)) {
        const std::optional<Replacement> found = match(at);
        if (found) {
            result.append(text.substr(copied, at - copied)).append(found->text);
            copied = found->end;
        }
        at = found ? found->end : at + 1;
    }
    return result.append(text.substr(copied));
}

bool isBlank(char32_t scalar) {
    return scalar == ' ' || scalar == '\t';
}

std::string withLineFeeds(std::string_view text) {
    return replaced(text, '<', [&](std::size_t at) -> std::optional<Replacement> {
        for (const std::string_view tag : lineEnds) {
            if (wordLength(text.substr(at), tag) > 0) return Replacement{at + tag.size(), "\n"};
        }
        return std::nullopt;
    });
}

/// "<li[^>]*>" becomes a bullet. (So does "<link>", which has no place in a fragment.)
std::string withBullets(std::string_view text) {
    auto tagEnd = lookAhead(text, '>');
    return replaced(text, '<', [&](std::size_t at) -> std::optional<Replacement> {
        if (wordLength(text.substr(at), "<li") == 0) return std::nullopt;
        const std::size_t end = tagEnd.from(at);
        if (end == npos) return std::nullopt;
        return Replacement{end + 1, bullet};
    });
}

/// "<(script|style)[^>]*>.*?</\1>" goes. The dot is not a newline.
std::string withoutScripts(std::string_view text) {
    const auto closing = [text](std::string_view tag) {
        return LookAhead([text, tag](std::size_t at) {
            for (at = text.find('<', at); at != npos; at = text.find('<', at + 1)) {
                if (wordLength(text.substr(at), tag) > 0) break;
            }
            return at;
        });
    };
    auto tagEnd = lookAhead(text, '>'), closingEnd = lookAhead(text, '>');
    auto script = closing("</script>"), style = closing("</style>");
    LookAhead lineEnd([text](std::size_t at) {
        std::string_view rest = text.substr(at);
        return at + Unicode::takeLine(rest).size();
    });
    return replaced(text, '<', [&](std::size_t at) -> std::optional<Replacement> {
        const bool isScript = wordLength(text.substr(at), "<script") > 0;
        if (!isScript && wordLength(text.substr(at), "<style") == 0) return std::nullopt;
        const std::size_t tag = tagEnd.from(at);
        if (tag == npos) return std::nullopt;
        const std::size_t end = (isScript ? script : style).from(tag + 1);
        if (end == npos || lineEnd.from(tag + 1) < end) return std::nullopt;
        return Replacement{closingEnd.from(end) + 1, ""};
    });
}

/// "<[^>]+>" goes.
std::string withoutTags(std::string_view text) {
    auto tagEnd = lookAhead(text, '>');
    return replaced(text, '<', [&](std::size_t at) -> std::optional<Replacement> {
        const std::size_t end = tagEnd.from(at);
        if (end == npos || end == at + 1) return std::nullopt;
        return Replacement{end + 1, ""};
    });
}

/// In one pass, so that what "&amp;" leaves is not decoded again.
std::string withEntitiesDecoded(std::string_view text) {
    return replaced(text, '&', [&](std::size_t at) -> std::optional<Replacement> {
        for (const Entity& entity : entities) {
            if (text.substr(at).starts_with(entity.name))
                return Replacement{at + entity.name.size(), entity.text};
        }
        return std::nullopt;
    });
}

} // namespace

std::string plainText(std::string_view html, int maxLines) {
    const std::string text =
        withEntitiesDecoded(withoutTags(withoutScripts(withBullets(withLineFeeds(Unicode::repaired(html))))));
    std::string result;
    std::string_view rest = text;
    for (int count = 0; !rest.empty();) {
        std::string_view line = Unicode::trimmed(Unicode::takeLine(rest), isBlank);
        if (line.empty()) continue;
        if (!result.empty()) result += '\n';
        if (count++ >= maxLines) return result.append(ellipsis);
        if (line.starts_with("- ") || line.starts_with("* ")) {
            line.remove_prefix(2);
            result += bullet;
        }
        result += line;
    }
    return result;
}

} // namespace quorvik::ReleaseNotes
