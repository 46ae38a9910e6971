#include "QuorvikCore/Text/ScalarSet.h"

#include "QuorvikCore/Text/Unicode.h"

namespace quorvik {

namespace {

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

} // namespace

std::size_t ScalarSet::takeFirst(std::string_view& text, std::size_t limit) const {
    std::size_t count = 0;
    for (; count < limit && !text.empty(); ++count) {
        if (isASCII(text[0])) {
            if (!ascii.contains(text[0])) break;
            text.remove_prefix(1);
        } else {
            const Unicode::Scalar scalar = Unicode::firstScalar(text);
            if (!contains(scalar.value)) break;
            text.remove_prefix(scalar.length);
        }
    }
    return count;
}

void ScalarSet::takeLast(std::string_view& text) const {
    for (std::string_view rest = text; !rest.empty(); text = rest) {
        if (isASCII(rest.back())) {
            if (!ascii.contains(rest.back())) return;
            rest.remove_suffix(1);
        } else if (!contains(Unicode::takeLastScalar(rest).value)) {
            return;
        }
    }
}

} // namespace quorvik
