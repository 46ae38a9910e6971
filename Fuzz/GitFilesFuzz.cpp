// What git writes and prints, whatever is in it. Input: one text, taken as each of these.

#include "Fuzz/Check.h"

#include "QuorvikCore/Activity/GitChanges.h"
#include "QuorvikCore/Activity/GitConfig.h"
#include "QuorvikCore/Activity/GitRepository.h"
#include "QuorvikCore/Text/Unicode.h"

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const GitConfig config(text);
    CHECK(config.values("s", "sub", "key").empty() == !config.value("S", "sub", "KEY"));
    if (const auto message = newestReflogMessage(text)) CHECK(message->find('\n') == message->npos);
    if (const auto id = packedRef(text, "refs/heads/main")) CHECK(id->size() == 40 || id->size() == 64);

    if (const auto set = GitChanges::parseList(text)) {
        CHECK(set->files.size() <= GitChanges::mostFiles);
        CHECK(set->fileCount >= static_cast<std::int64_t>(set->files.size()));
        std::int64_t added = 0;
        for (const FileChange& file : set->files) {
            CHECK(Unicode::isValid(file.path) && file.added >= 0 && file.removed >= 0);
            added = std::max(added, std::min(file.added, std::int64_t{1} << 53));
        }
        CHECK(set->added >= added);
    }
    if (const auto diffs = GitChanges::parseDiff(text)) {
        CHECK(diffs->size() <= GitChanges::mostFiles);
        std::size_t lines = 0;
        for (const FileDiff& diff : *diffs) {
            CHECK(Unicode::isValid(diff.path));
            lines += diff.lines.size();
            std::int64_t older = 0, newer = 0; // numbers follow one another within a hunk
            for (const DiffLine& line : diff.lines) {
                CHECK(Unicode::isValid(line.text));
                if (line.kind == DiffLine::Kind::hunk) older = newer = -1;
                if (line.oldNumber) CHECK(older < 0 || *line.oldNumber == older + 1);
                if (line.newNumber) CHECK(newer < 0 || *line.newNumber == newer + 1);
                older = line.oldNumber.value_or(older);
                newer = line.newNumber.value_or(newer);
            }
        }
        CHECK(lines <= GitChanges::mostLines);
    }
    return 0;
}
