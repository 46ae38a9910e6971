#include "QuorvikCore/Text/Markup.h"

namespace quorvik {

std::string markupEscaped(std::string_view text) {
    std::string escaped;
    for (const char byte : text) {
        switch (byte) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        case '\'': escaped += "&#39;"; break;
        default: escaped += byte;
        }
    }
    return escaped;
}

} // namespace quorvik
