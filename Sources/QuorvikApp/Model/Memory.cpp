#include "QuorvikApp/Model/Memory.h"

#include "QuorvikCore/JSON/RecordCoding.h"

namespace quorvik {

Memory Memory::parse(std::string_view text) {
    const auto document = parseJSON(text);
    if (!document) return {};
    Memory memory;
    try {
        const RecordReader reader(*document);
        std::vector<std::string> acknowledged;
        reader.required("acknowledged", acknowledged);
        memory.acknowledged.insert(acknowledged.begin(), acknowledged.end());
        reader.optional("alertsPausedUntil", memory.alertsPausedUntil);
        if (const auto* value = reader.member("pick")) {
            const RecordReader pick(*value);
            ManualPick& chosen = memory.pick.emplace();
            pick.required("key", chosen.key);
            pick.required("stateSince", chosen.stateSince);
            pick.required("pickedAt", chosen.pickedAt);
        }
    } catch (const RecordError&) {
        return {};
    }
    return memory;
}

std::string Memory::text() const {
    nlohmann::json document = {{"acknowledged", acknowledged}};
    writeOptional(document, "alertsPausedUntil", alertsPausedUntil);
    if (pick)
        document["pick"] = {{"key", pick->key},
                            {"stateSince", secondsSince1970(pick->stateSince)},
                            {"pickedAt", secondsSince1970(pick->pickedAt)}};
    return printJSON(document);
}

} // namespace quorvik
