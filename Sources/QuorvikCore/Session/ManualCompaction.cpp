#include "QuorvikCore/Session/ManualCompaction.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"

#include <unistd.h>

namespace quorvik::ManualCompaction {

namespace {

constexpr std::size_t maxFileSize = 4096; // bytes

Path memoryOf(const Path& file) {
    return file.native() + ".before";
}

} // namespace

void begin(const Path& file, const SessionRecord& record) {
    if (record.state == SessionState::compacting) return;
    const nlohmann::json before = {{"state", rawValue(record.state)},
                                   {"stateSince", secondsSince1970(record.stateSince)}};
    const Path memory = memoryOf(file);
    try {
        Files::replace(memory, printJSON(before), memory.native() + ".tmp", 0600);
    } catch (const FileError&) {
        forget(file); // an older one is not what is to come back
    }
}

void end(const Path& file, SessionRecord& record) {
    const auto text = Files::read(memoryOf(file), maxFileSize);
    const auto before = text ? parseJSON(*text) : std::nullopt;
    forget(file);
    if (!before || record.state != SessionState::compacting) return;
    try {
        const RecordReader reader(*before);
        SessionState state = record.state;
        reader.required("state", state);
        reader.required("stateSince", record.stateSince);
        record.state = state;
    } catch (const RecordError&) {
        // Not a text of begin()'s: the former state is unknown.
    }
}

void forget(const Path& file) {
    ::unlink(memoryOf(file).c_str());
}

} // namespace quorvik::ManualCompaction
