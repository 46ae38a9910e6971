// A file is a record or it is not; a record survives writing and reading unchanged. Input: the file's
// content.

#include "Fuzz/Check.h"

#include "QuorvikCore/Session/SessionRecord.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvik;
    const auto value = parseJSON(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!value) return 0;
    try {
        const SessionRecord record = SessionRecord::fromJSON(*value);
        const auto again = parseJSON(printJSON(record.toJSON()));
        CHECK(again);
        CHECK(SessionRecord::fromJSON(*again) == record);
    } catch (const RecordError&) {
    }
    return 0;
}
