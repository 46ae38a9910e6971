// Any notes become no more lines than asked for, short ones exactly those that the defining expressions make.
// Input: a byte that says how many lines, then the notes.

#include "Fuzz/Check.h"
#include "Tests/Support/ReleaseNotesReference.h"

#include "QuorvikCore/Text/ReleaseNotes.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <climits>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const int maxLines = data[0] % 16 - 2;
    const std::string html(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string text = ReleaseNotes::plainText(html, maxLines);
    CHECK(std::ranges::count(text, '\n') <= std::max(maxLines, 0));
    CHECK(Unicode::isValid(text));

    if (html.size() > 2000) return 0; // the expressions may need quadratic time
    const auto expected = testing::releaseNotesByExpressions(Unicode::repaired(html));
    CHECK(!expected || ReleaseNotes::plainText(html, INT_MAX) == *expected);
    return 0;
}
