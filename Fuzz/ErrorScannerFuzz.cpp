// The scanner against its own definition, one line at a time, however the output is cut into chunks. Input: a
// byte of flags, then the output, in which byte 2 is no output but cuts a chunk, and the bytes from 0x80 on
// may stand for pieces of which error lines are made.

#include "Fuzz/Check.h"

#include "QuorvikCore/Activity/ErrorScanner.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>
#include <vector>

namespace {

using quorvik::ErrorScanner;
namespace Unicode = quorvik::Unicode;

/// Fields filled line by line, without any shortcut.
struct Reference {
    std::optional<std::string> firstError, firstStderr, lastLine;
    bool hasLongLine = false;

    Reference(std::string_view text, bool isStderr) {
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

/// What error lines, and the ways to miss one, are made of. Few: what matters are three or four in a row.
constexpr std::string_view pieces[] = {"FAIL", " ",    "\r\n", "\n", "er",     "ror",
                                       "\r",   "\x1B", "[1m",  "✗",  "\u0301", "x"};

std::vector<std::string> chunksOf(std::string_view bytes, bool inPieces) {
    std::vector<std::string> chunks(1);
    for (const char byte : bytes) {
        const std::size_t piece = static_cast<unsigned char>(byte) % (std::size(pieces) + 1);
        if (inPieces ? piece == std::size(pieces) : byte == 2)
            chunks.emplace_back();
        else
            chunks.back() += inPieces ? pieces[piece] : std::string_view(&byte, 1);
    }
    return chunks;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const bool isStderr = data[0] & 1, inPieces = data[0] & 2;
    const auto chunks = chunksOf({reinterpret_cast<const char*>(data) + 1, size - 1}, inPieces);
    std::string output;
    for (const std::string& chunk : chunks)
        output += Unicode::repaired(chunk); // each by itself
    const Reference reference(output, isStderr);
    if (reference.hasLongLine) return 0; // a long line is judged by what there is of it when it ends

    ErrorScanner atOnce, inChunks;
    atOnce.feed(output, isStderr);
    atOnce.finish();
    CHECK(reference.agrees(atOnce));
    for (const std::string& chunk : chunks) {
        inChunks.feed(chunk, isStderr);
        CHECK(inChunks.pending(isStderr).size() <= 4u * 64 * 1024);
    }
    inChunks.finish();
    CHECK(reference.agrees(inChunks));
    return 0;
}
