#include "QuorvikApp/Model/ItemChanges.h"

#include "QuorvikCore/JSON/RecordCoding.h"

#include <algorithm>

namespace quorvik {

namespace {

/// The list as JSON, up to the element with which all texts together become too long.
template <typename T>
nlohmann::json bounded(const std::vector<T>& list, std::size_t& left, nlohmann::json (*make)(const T&)) {
    nlohmann::json array = nlohmann::json::array();
    for (const T& element : list) {
        nlohmann::json value = make(element);
        const std::size_t size = printJSON(value).size() + 1;
        if (size > left) break;
        left -= size;
        array.push_back(std::move(value));
    }
    return array;
}

nlohmann::json fileJSON(const FileChange& file) {
    nlohmann::json object = {{"path", file.path},
                             {"status", rawValue(file.status)},
                             {"added", file.added},
                             {"removed", file.removed},
                             {"binary", file.isBinary}};
    writeOptional(object, "oldPath", file.oldPath);
    if (file.isSubmodule) object["submodule"] = true;
    return object;
}

nlohmann::json lineJSON(const DiffLine& line) {
    nlohmann::json object = {{"kind", rawValue(line.kind)}, {"text", line.text}};
    writeOptional(object, "old", line.oldNumber);
    writeOptional(object, "new", line.newNumber);
    return object;
}

nlohmann::json noteJSON(const std::string& note) {
    return note;
}

/// The member's elements; throws RecordError unless it is a list.
const nlohmann::json& listIn(const RecordReader<nlohmann::json>& reader, const char* name) {
    const nlohmann::json* list = reader.member(name);
    if (!list || !list->is_array()) throw RecordError(std::string(name) + " is no list");
    return *list;
}

} // namespace

nlohmann::json ItemChanges::toJSON() const {
    std::size_t left = mostBytes;
    nlohmann::json files = bounded(set.files, left, fileJSON);
    const bool isShortened = static_cast<std::int64_t>(files.size()) < set.fileCount;
    nlohmann::json object = {{"files", std::move(files)},
                             {"fileCount", set.fileCount},
                             {"added", set.added},
                             {"removed", set.removed},
                             {"shortened", isShortened}};
    writeOptional(object, "to", range.to);
    return object;
}

ItemChanges ItemChanges::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    ItemChanges changes;
    reader.optional("to", changes.range.to);
    reader.required("fileCount", changes.set.fileCount);
    reader.required("added", changes.set.added);
    reader.required("removed", changes.set.removed);
    for (const nlohmann::json& element : listIn(reader, "files")) {
        const RecordReader each(element);
        FileChange& file = changes.set.files.emplace_back();
        std::optional<bool> isSubmodule;
        each.required("path", file.path);
        each.optional("oldPath", file.oldPath);
        each.required("status", file.status);
        each.required("added", file.added);
        each.required("removed", file.removed);
        each.required("binary", file.isBinary);
        each.optional("submodule", isSubmodule);
        file.isSubmodule = isSubmodule.value_or(false);
    }
    return changes;
}

nlohmann::json diffJSON(const FileDiff& diff) {
    std::size_t left = ItemChanges::mostBytes;
    nlohmann::json notes = bounded(diff.notes, left, noteJSON);
    nlohmann::json lines = bounded(diff.lines, left, lineJSON);
    const bool isCut = notes.size() < diff.notes.size() || lines.size() < diff.lines.size();
    nlohmann::json object = {{"path", diff.path},
                             {"lines", std::move(lines)},
                             {"notes", std::move(notes)},
                             {"binary", diff.isBinary},
                             {"shortened", diff.isShortened || isCut}};
    writeOptional(object, "oldPath", diff.oldPath);
    return object;
}

FileDiff diffFromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    FileDiff diff;
    reader.required("path", diff.path);
    reader.optional("oldPath", diff.oldPath);
    reader.required("notes", diff.notes);
    reader.required("binary", diff.isBinary);
    reader.required("shortened", diff.isShortened);
    for (const nlohmann::json& element : listIn(reader, "lines")) {
        const RecordReader each(element);
        DiffLine& line = diff.lines.emplace_back();
        each.required("kind", line.kind);
        each.required("text", line.text);
        each.optional("old", line.oldNumber);
        each.optional("new", line.newNumber);
    }
    return diff;
}

} // namespace quorvik
