#include "QuorvikCore/Approvals/ApprovalRequest.h"

namespace quorvik {

std::string ApprovalRequest::key() const {
    return std::string(rawValue(source)) + "-" + sessionID;
}

ApprovalRequest ApprovalRequest::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    ApprovalRequest request;
    reader.required("id", request.id);
    reader.required("source", request.source);
    reader.required("sessionID", request.sessionID);
    reader.required("cwd", request.cwd);
    reader.optional("tool", request.tool);
    reader.optional("summary", request.summary);
    reader.optional("suggestions", request.suggestions);
    reader.optional("questions", request.questions);
    reader.optional("questionsJSON", request.questionsJSON);
    reader.optional("input", request.input);
    reader.optional("inputTruncated", request.inputTruncated);
    return request;
}

nlohmann::json ApprovalRequest::toJSON() const {
    nlohmann::json object = {
        {"id", id}, {"source", rawValue(source)}, {"sessionID", sessionID}, {"cwd", cwd}};
    writeOptional(object, "tool", tool);
    writeOptional(object, "summary", summary);
    writeOptional(object, "suggestions", suggestions);
    if (questions) object["questions"] = listJSON(*questions);
    writeOptional(object, "questionsJSON", questionsJSON);
    writeOptional(object, "input", input);
    writeOptional(object, "inputTruncated", inputTruncated);
    return object;
}

ApprovalResponse ApprovalResponse::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    ApprovalResponse response;
    reader.required("decision", response.decision);
    reader.optional("message", response.message);
    reader.optional("answers", response.answers);
    return response;
}

nlohmann::json ApprovalResponse::toJSON() const {
    nlohmann::json object = {{"decision", rawValue(decision)}};
    writeOptional(object, "message", message);
    writeOptional(object, "answers", answers);
    return object;
}

} // namespace quorvik
