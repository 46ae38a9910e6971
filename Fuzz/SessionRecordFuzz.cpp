// A file is a record or it is not; a record survives writing and reading unchanged. Input: the file's
// content.

#include "Fuzz/Check.h"

#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Session/SessionRecord.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvik;
    try {
        const auto value = OrderedJSON::parse(std::string_view(reinterpret_cast<const char*>(data), size));
        const SessionRecord record = SessionRecord::fromJSON(value);
        const std::string printed = printJSON(record.toJSON());
        const bool isText = Unicode::isValid(std::string_view(reinterpret_cast<const char*>(data), size));
        CHECK(!isText || SessionRecord::fromJSON(OrderedJSON::parse(printed)) == record);
    } catch (const JSONParseError&) {
    } catch (const RecordError&) {
    }
    return 0;
}
