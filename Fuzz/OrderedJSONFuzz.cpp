// Whatever is read survives being printed: the same value, and the same text from then on.

#include "QuorvikCore/JSON/OrderedJSON.h"

#include <cstdint>
#include <cstdlib>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const JSONValue value = OrderedJSON::parse(text);
        const std::string printed =
            OrderedJSON::serialize(value, ""); // no indent: deep nesting stays affordable
        const JSONValue again = OrderedJSON::parse(printed);
        const JSONValue copy = again;
        if (!(again == value) || !(copy == value) || OrderedJSON::serialize(copy, "") != printed)
            std::abort();
    } catch (const JSONParseError& error) {
        if (error.offset < 0 || static_cast<std::size_t>(error.offset) > size) std::abort();
    }
    return 0;
}
