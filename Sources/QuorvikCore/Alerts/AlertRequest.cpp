#include "QuorvikCore/Alerts/AlertRequest.h"

namespace quorvik {

AlertRequest AlertRequest::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    AlertRequest request;
    reader.required("title", request.title);
    reader.required("body", request.body);
    reader.required("level", request.level);
    reader.optional("open", request.open);
    reader.optional("id", request.id);
    reader.required("ttl", request.ttl);
    return request;
}

nlohmann::json AlertRequest::toJSON() const {
    nlohmann::json object = {{"title", title}, {"body", body}, {"level", rawValue(level)}, {"ttl", ttl}};
    writeOptional(object, "open", open);
    writeOptional(object, "id", id);
    return object;
}

} // namespace quorvik
