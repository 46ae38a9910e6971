#include "QuorvikCore/Activity/PropertyListGuard.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace quorvik::PropertyListGuard {

namespace {

/// Bytes of memory that libplist and the JSON made from it take for one value, without its text.
constexpr std::uint64_t valueWeight = 160;

/// Bound on the work of libplist's quadratic searches and moves, in steps: about a tenth of a second.
constexpr std::uint64_t maximumEffort = 20'000'000;
constexpr std::uint64_t bytesMovedAtOnce = 64;

/// The objects of a binary list, as far as they contain others.
class BinaryList {
  public:
    explicit BinaryList(std::string_view bytes) : bytes_(bytes) {}

    bool isHarmless() {
        constexpr std::size_t headerSize = 8, trailerSize = 32;
        if (bytes_.size() < headerSize + trailerSize) return false;
        const std::size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = number(trailer + 6, 1);
        referenceSize_ = number(trailer + 7, 1);
        const std::uint64_t count = number(trailer + 8, 8), root = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) return false;
        if (table_ < headerSize || table_ > trailer || count > maximumWeight / valueWeight ||
            count > (trailer - table_) / offsetSize_ || root >= count)
            return false;
        measures_.resize(count);
        return measure(root);
    }

  private:
    /// An object with everything in it; depth 0 until it is known.
    struct Measure {
        std::size_t depth = 0;
        std::uint64_t weight = valueWeight;
        bool isOpen = false; ///< being measured: another reference to it would be a circle
    };
    struct Content {
        std::size_t first = 0;      ///< where the references to other objects are
        std::uint64_t children = 0; ///< how many there are
        std::uint64_t bytes = 0;    ///< of text or data
    };
    struct Visit {
        std::uint64_t object;
        Content content;
        std::uint64_t next = 0; ///< child
    };

    std::uint64_t number(std::size_t at, std::uint64_t size) const {
        std::uint64_t value = 0;
        for (std::uint64_t index = 0; index < size; ++index)
            value = value << 8 | static_cast<unsigned char>(bytes_[at + index]);
        return value;
    }

    /// Of characters of `unit` bytes. A text with one would end the process: libplist insists that a key is
    /// as long as C takes it for.
    static bool holdsNUL(std::string_view text, std::size_t unit) {
        for (std::size_t at = 0; at < text.size(); at += unit)
            if (text.substr(at, unit).find_first_not_of('\0') == text.npos) return true;
        return false;
    }

    /// Absent when the object is not where it can be.
    std::optional<Content> contentOf(std::uint64_t object) const {
        constexpr unsigned integer = 0x1, data = 0x4, utf16 = 0x6, utf8 = 0x7, array = 0xA, set = 0xC,
                           dictionary = 0xD, longCount = 0xF;
        const std::uint64_t start = number(table_ + object * offsetSize_, offsetSize_);
        if (start >= table_) return std::nullopt;
        const auto byteAt = [&](std::size_t at) -> unsigned {
            return static_cast<unsigned char>(bytes_[at]);
        };
        const unsigned kind = byteAt(start) >> 4;
        const bool isText = kind >= data && kind <= utf8;
        if (!isText && kind != array && kind != set && kind != dictionary) return Content{};
        std::size_t at = start + 1;
        std::uint64_t count = byteAt(start) & 0xF;
        if (count == longCount) {
            // The count is an integer object: a marker with the logarithm of its size, then its bytes.
            constexpr unsigned largest = 3;
            if (at >= table_ || byteAt(at) >> 4 != integer || (byteAt(at) & 0xF) > largest)
                return std::nullopt;
            const std::uint64_t size = std::uint64_t{1} << (byteAt(at) & 0xF);
            if (size > table_ - at - 1) return std::nullopt;
            count = number(at + 1, size);
            at += 1 + size;
        }
        const std::uint64_t unit = kind == utf16        ? 2
                                   : isText             ? 1
                                   : kind == dictionary ? 2 * referenceSize_
                                                        : referenceSize_;
        if (count > (table_ - at) / unit) return std::nullopt;
        if (kind != data && isText && holdsNUL(bytes_.substr(at, count * unit), unit)) return std::nullopt;
        if (isText) return Content{at, 0, count * unit};
        return Content{at, count * unit / referenceSize_, 0};
    }

    bool measure(std::uint64_t root) {
        std::vector<Visit> path;
        const auto enter = [&](std::uint64_t object) {
            const auto content = contentOf(object);
            if (!content || path.size() >= maximumDepth) return false;
            measures_[object].isOpen = true;
            measures_[object].weight += content->bytes;
            path.push_back({object, *content});
            return true;
        };
        if (!enter(root)) return false;
        while (!path.empty()) {
            Visit& visit = path.back();
            Measure& measure = measures_[visit.object];
            if (visit.next == visit.content.children) {
                measure.isOpen = false;
                ++measure.depth;
                path.pop_back();
                continue;
            }
            const std::uint64_t child =
                number(visit.content.first + visit.next * referenceSize_, referenceSize_);
            if (child >= measures_.size() || measures_[child].isOpen) return false;
            const Measure& known = measures_[child];
            if (known.depth == 0) { // met again, and counted, when it is known
                if (!enter(child)) return false;
                continue;
            }
            measure.depth = std::max(measure.depth, known.depth);
            measure.weight += known.weight;
            if (path.size() + known.depth > maximumDepth || measure.weight > maximumWeight) return false;
            ++visit.next;
        }
        return true;
    }

    std::string_view bytes_;
    std::uint64_t offsetSize_ = 0, referenceSize_ = 0;
    std::size_t table_ = 0; ///< where the offsets begin, and the objects end
    std::vector<Measure> measures_;
};

/// Whether the ">" that was found ends the tag: neither a "<" nor an open quote stands before it. `tag` is
/// without its brackets.
bool isPlainTag(std::string_view tag) {
    return tag.find('<') == tag.npos && std::ranges::count(tag, '"') % 2 == 0;
}

/// The length of the comment, instruction or document type that the text begins with; absent when it is
/// anything else, or might hold what a reader takes for tags.
std::optional<std::size_t> lengthWithoutTags(std::string_view text) {
    if (text.starts_with("<!--")) {
        const std::size_t end = text.find("-->", 4);
        if (end == text.npos) return std::nullopt;
        return end + 3;
    }
    const bool isInstruction = text.starts_with("<?");
    if (!isInstruction && !text.starts_with("<!DOCTYPE")) return std::nullopt;
    const std::string_view closing = isInstruction ? "?>" : ">";
    const std::size_t end = text.find(closing);
    if (end == text.npos) return std::nullopt;
    // An end within quotes is not the end, and quotes may also hold what looks like tags.
    const std::string_view inside = text.substr(1, end - 1);
    const auto isBalanced = [&](char quote) { return std::ranges::count(inside, quote) % 2 == 0; };
    if (inside.find_first_of("<[") != inside.npos || !isBalanced('"') || !isBalanced('\''))
        return std::nullopt;
    return end + closing.size();
}

} // namespace

bool isHarmlessBinary(std::string_view bytes) {
    return BinaryList(bytes).isHarmless();
}

bool isHarmlessXML(std::string_view text) {
    std::vector<std::uint64_t> keys = {0}; // of each open container, and outside of all
    std::uint64_t weight = 0, effort = 0;
    for (std::size_t at = 0, end = text.find('<'); end != text.npos; end = text.find('<', at)) {
        const std::string_view content = text.substr(at, end - at);
        const auto entities = static_cast<std::uint64_t>(std::ranges::count(content, '&'));
        effort += entities * content.size() / bytesMovedAtOnce;
        weight += content.size();

        const std::string_view markup = text.substr(end);
        if (markup.starts_with("<!") || markup.starts_with("<?")) {
            const auto length = lengthWithoutTags(markup);
            if (!length) return false;
            at = end + *length;
            continue;
        }
        const std::size_t close = markup.find('>');
        if (close == markup.npos) return false;
        const std::string_view tag = markup.substr(1, close - 1);
        // libplist goes on to the end of what is quoted, and would see another tag than we do.
        if (!isPlainTag(tag)) return false;
        at = end + close + 1;
        const bool isContainer = tag.starts_with("dict") || tag.starts_with("array");
        if (tag.starts_with("/dict") || tag.starts_with("/array")) {
            if (keys.size() > 1) keys.pop_back();
        } else if (isContainer && !tag.ends_with('/')) {
            keys.push_back(0);
        } else if (tag.starts_with("key")) {
            effort += ++keys.back(); // a key that is there already is looked for among all
        }
        weight += valueWeight;
        if (keys.size() > maximumDepth + 1 || weight > maximumWeight || effort > maximumEffort) return false;
    }
    return true;
}

} // namespace quorvik::PropertyListGuard
