// A copied text: its secrets are found where the regular-expression engine finds them, and no text, however
// often it is repeated, takes long.

#include "Fuzz/Check.h"
#include "Tests/Support/SecretReference.h"

#include "QuorvikCore/Clipboard/ClipboardClassifier.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <string>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t largest = 400, repeatedSize = 100'000;
    constexpr std::clock_t limit = CLOCKS_PER_SEC; // thirty times what it takes, sanitizers included
    const std::string text =
        Unicode::repaired({reinterpret_cast<const char*>(data), std::min(size, largest)});
    if (text.empty()) return 0;
    if (testing::engineKnowsLettersOf(text))
        CHECK(SecretScanner::containsSecret(text) == testing::engineFindsSecret(text));

    std::string many;
    while (many.size() < repeatedSize)
        many += text;
    for (const std::string& whole : {text, many, "Error\n at a\n at b\n" + many}) {
        const std::clock_t start = std::clock(); // of this process: others may keep the machine busy
        ClipboardClassifier::classify(whole);
        CHECK(std::clock() - start < limit);
    }
    return 0;
}
