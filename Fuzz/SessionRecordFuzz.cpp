// A file is a record or it is not; a record survives writing and reading unchanged. Input: the file's
// content.

#include "Fuzz/Check.h"

#include "QuorvikCore/Session/SessionRecord.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvik;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto object = RawJSON::object(text);
    if (!object) return 0;
    try {
        const SessionRecord record = SessionRecord::fromJSON(*object);
        const std::string printed = printJSON(record.toJSON());
        CHECK(!Unicode::isValid(text) || SessionRecord::fromJSON(*RawJSON::object(printed)) == record);
    } catch (const RecordError&) {
    }
    return 0;
}
