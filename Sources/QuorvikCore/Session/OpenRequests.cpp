#include "QuorvikCore/Session/OpenRequests.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <unistd.h>

#include <algorithm>

namespace quorvik::OpenRequests {

namespace {

constexpr std::size_t maxFileSize = 1u << 20; // bytes
constexpr std::size_t maxRequests = 100;      // an agent that asks more at once is not to be believed

struct Request {
    std::string id;
    std::optional<std::string> tool, summary;
    std::int32_t pid = 0;            ///< of the hook that asks
    std::optional<double> startTime; ///< of that process, seconds since 1970; absent when unknown

    static Request fromJSON(const nlohmann::json& value) {
        const RecordReader reader(value);
        Request request;
        reader.required("id", request.id);
        reader.optional("tool", request.tool);
        reader.optional("summary", request.summary);
        reader.required("pid", request.pid);
        reader.optional("pidStartTime", request.startTime);
        return request;
    }

    nlohmann::json toJSON() const {
        nlohmann::json object = {{"id", id}, {"pid", pid}};
        writeOptional(object, "tool", tool);
        writeOptional(object, "summary", summary);
        writeOptional(object, "pidStartTime", startTime);
        return object;
    }

    bool isDead() const { return !ProcessInspector::isRunning(pid, startTime); }
};

using Requests = std::vector<Request>;

Path fileOf(const Path& record) {
    return record.native() + ".asked";
}

/// Empty when there is no file; absent when there is one that cannot be read.
std::optional<Requests> read(const Path& record) {
    std::error_code error;
    const auto text = Files::read(fileOf(record), maxFileSize, &error);
    if (error == std::errc::no_such_file_or_directory) return Requests();
    const auto list = text ? parseJSON(*text) : std::nullopt;
    if (!list || !list->is_array()) return std::nullopt;
    Requests requests;
    try {
        for (const nlohmann::json& one : *list)
            requests.push_back(Request::fromJSON(one));
    } catch (const RecordError&) {
        return std::nullopt;
    }
    return requests;
}

void write(const Path& record, const Requests& requests) {
    const Path file = fileOf(record);
    std::error_code ignored;
    if (requests.empty()) {
        std::filesystem::remove(file, ignored);
        return;
    }
    try {
        Files::replace(file, printJSON(listJSON(requests)), file.native() + ".tmp", 0600);
    } catch (const FileError&) {
        // Not reported: the old file stays.
    }
}

/// Reads the requests of hooks that live, lets `edit` change them, and writes what has changed.
template <typename Edit>
Requests change(const Path& record, Edit edit) {
    Requests requests = read(record).value_or(Requests());
    const std::size_t before = requests.size();
    std::erase_if(requests, [](const Request& request) { return request.isDead(); });
    if (edit(requests) || requests.size() != before) write(record, requests);
    return requests;
}

} // namespace

void add(const Path& record, const std::string& id, const std::optional<std::string>& tool,
         const std::optional<std::string>& summary) {
    const auto self = ProcessInspector::info(::getpid());
    change(record, [&](Requests& requests) {
        if (requests.size() == maxRequests) requests.erase(requests.begin());
        requests.push_back(
            {id, tool, summary, ::getpid(), self ? std::optional<double>(self->startTime) : std::nullopt});
        return true;
    });
}

void toolHasRun(const Path& record, const std::optional<std::string>& tool,
                const std::optional<std::string>& summary) {
    change(record, [&](Requests& requests) {
        const auto found = std::ranges::find_if(requests, [&](const Request& request) {
            return request.tool == tool && (!summary || request.summary == summary);
        });
        if (found == requests.end()) return false;
        requests.erase(found);
        return true;
    });
}

void clear(const Path& record) {
    std::error_code ignored;
    std::filesystem::remove(fileOf(record), ignored);
}

bool strikeOff(const Path& record, const std::string& id) {
    const Requests rest = change(record, [&](Requests& requests) {
        return std::erase_if(requests, [&](const Request& request) { return request.id == id; }) > 0;
    });
    return !rest.empty();
}

void strikeOffDead(const Path& record) {
    change(record, [](Requests&) { return false; });
}

bool isOpen(const Path& record, const std::string& id) {
    const auto requests = read(record);
    return !requests || std::ranges::find(*requests, id, &Request::id) != requests->end();
}

bool anyWaiting(const SessionRecord& record, const Path& folder) {
    if (record.state != SessionState::awaiting) return false;
    const auto requests = read(SessionStore::fileURL(record.source, record.sessionID, folder));
    return !requests || requests->empty() || !std::ranges::all_of(*requests, &Request::isDead);
}

} // namespace quorvik::OpenRequests
