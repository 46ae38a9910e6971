#include "QuorvikCore/Session/OpenRequests.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"

#include <algorithm>

namespace quorvik::OpenRequests {

namespace {

constexpr std::size_t maxFileSize = 1u << 20; // bytes
constexpr std::size_t maxRequests = 100;      // an agent that asks more at once is not to be believed

Path fileOf(const Path& record) {
    return record.native() + ".asked";
}

nlohmann::json read(const Path& record) {
    const auto text = Files::read(fileOf(record), maxFileSize);
    auto list = text ? parseJSON(*text) : std::nullopt;
    const auto isRequest = [](const nlohmann::json& one) { return one.is_object() && one.contains("id"); };
    if (!list || !list->is_array() || !std::ranges::all_of(*list, isRequest)) return nlohmann::json::array();
    return std::move(*list);
}

void write(const Path& record, const nlohmann::json& list) {
    const Path file = fileOf(record);
    std::error_code ignored;
    if (list.empty()) {
        std::filesystem::remove(file, ignored);
        return;
    }
    try {
        Files::replace(file, printJSON(list), file.native() + ".tmp", 0600);
    } catch (const FileError&) {
        // Nobody is told.
    }
}

nlohmann::json orNull(const std::optional<std::string>& text) {
    return text ? nlohmann::json(*text) : nlohmann::json(nullptr);
}

} // namespace

void add(const Path& record, const std::string& id, const std::optional<std::string>& tool,
         const std::optional<std::string>& summary) {
    nlohmann::json list = read(record);
    if (list.size() == maxRequests) list.erase(list.begin());
    list.push_back({{"id", id}, {"tool", orNull(tool)}, {"summary", orNull(summary)}});
    write(record, list);
}

void toolHasRun(const Path& record, const std::optional<std::string>& tool,
                const std::optional<std::string>& summary) {
    nlohmann::json list = read(record);
    const auto found = std::ranges::find_if(list, [&](const nlohmann::json& one) {
        return one.value("tool", nlohmann::json()) == orNull(tool) &&
               (!summary || one.value("summary", nlohmann::json()) == *summary);
    });
    if (found == list.end()) return;
    list.erase(found);
    write(record, list);
}

void clear(const Path& record) {
    std::error_code ignored;
    std::filesystem::remove(fileOf(record), ignored);
}

bool strikeOff(const Path& record, const std::string& id) {
    nlohmann::json list = read(record);
    const std::size_t before = list.size();
    nlohmann::json rest = nlohmann::json::array();
    for (const nlohmann::json& one : list)
        if (one["id"] != id) rest.push_back(one);
    if (rest.size() != before) write(record, rest);
    return !rest.empty();
}

bool isOpen(const Path& record, const std::string& id) {
    return std::ranges::any_of(read(record), [&](const nlohmann::json& one) { return one["id"] == id; });
}

} // namespace quorvik::OpenRequests
