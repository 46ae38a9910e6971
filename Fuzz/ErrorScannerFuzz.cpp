// The scanner against its own definition, one line at a time, and against itself on output that comes in
// pieces. Input: a byte that says how the output is cut, then the output.

#include "Fuzz/Check.h"

#include "QuorvikCore/Activity/ErrorScanner.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>

namespace {

using quorvik::ErrorScanner;
namespace Unicode = quorvik::Unicode;

/// Fields filled line by line, without any shortcut.
struct Reference {
    std::optional<std::string> firstError, firstStderr, lastLine;
    bool hasLongLine = false;

    Reference(std::string_view output, bool isStderr) {
        const std::string text = Unicode::repaired(output);
        std::string line;
        for (std::string_view rest = text; !rest.empty();) {
            const std::string_view character = Unicode::takeCharacter(rest);
            if (character != "\n") line += character;
            if (character != "\n" && !rest.empty()) continue;
            hasLongLine = hasLongLine || Unicode::characterCount(line, 4097) > 4096;
            const std::string cleaned = ErrorScanner::clean(line);
            line.clear();
            if (cleaned.empty()) continue;
            if (isStderr && !firstStderr) firstStderr = cleaned;
            if (!firstError && ErrorScanner::looksLikeError(cleaned)) firstError = cleaned;
            lastLine = cleaned;
        }
    }
    bool agrees(const ErrorScanner& scanner) const {
        return scanner.firstError == firstError && scanner.firstStderr == firstStderr &&
               scanner.lastLine == lastLine;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t charactersPerChunk = 1 + data[0] / 2;
    const bool isStderr = data[0] % 2 == 1;
    const std::string_view output(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Reference reference(output, isStderr);
    if (reference.hasLongLine) return 0; // a long line is judged by what there is of it when it ends

    ErrorScanner whole, pieces;
    whole.feed(output, isStderr);
    whole.finish();
    CHECK(reference.agrees(whole));
    for (std::string_view rest = output; !rest.empty();) {
        const std::string_view chunk = Unicode::firstCharacters(rest, charactersPerChunk);
        pieces.feed(chunk, isStderr);
        rest.remove_prefix(chunk.size());
        CHECK(pieces.pending(isStderr).size() <= 4u * 64 * 1024);
    }
    pieces.finish();
    CHECK(reference.agrees(pieces));
    return 0;
}
