#include "QuorvikCore/Approvals/Question.h"

#include <algorithm>

namespace quorvik {

namespace {

/// A text member; empty when it is missing or of another type.
std::string textMember(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

bool isListOfObjects(const nlohmann::json& value, std::size_t most) {
    return value.is_array() && !value.empty() && value.size() <= most &&
           std::all_of(value.begin(), value.end(), [](const auto& element) { return element.is_object(); });
}

std::optional<Question> parseOne(const nlohmann::json& object) {
    Question question{.question = textMember(object, "question"), .header = textMember(object, "header")};
    const auto options = object.find("options");
    if (question.question.empty() || options == object.end() ||
        !isListOfObjects(*options, Question::maxOptions))
        return std::nullopt;
    for (const nlohmann::json& option : *options) {
        question.options.push_back({textMember(option, "label"), textMember(option, "description")});
        if (question.options.back().label.empty()) return std::nullopt;
    }
    const auto multiSelect = object.find("multiSelect");
    question.multiSelect = multiSelect != object.end() && *multiSelect == true;
    return question;
}

} // namespace

bool Question::isTool(std::string_view name) {
    return name == "AskUserQuestion" || name == "ask_user_question";
}

std::optional<std::vector<Question>> Question::parse(const nlohmann::json& value) {
    if (!isListOfObjects(value, maxQuestions)) return std::nullopt;
    std::vector<Question> questions;
    for (const nlohmann::json& object : value) {
        std::optional<Question> question = parseOne(object);
        if (!question) return std::nullopt;
        questions.push_back(std::move(*question));
    }
    return questions;
}

QuestionOption QuestionOption::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    QuestionOption option;
    reader.required("label", option.label);
    reader.required("description", option.description);
    return option;
}

nlohmann::json QuestionOption::toJSON() const {
    return {{"label", label}, {"description", description}};
}

Question Question::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    Question question;
    reader.required("question", question.question);
    reader.required("header", question.header);
    reader.required("options", question.options);
    reader.required("multiSelect", question.multiSelect);
    return question;
}

nlohmann::json Question::toJSON() const {
    return {{"question", question},
            {"header", header},
            {"options", listJSON(options)},
            {"multiSelect", multiSelect}};
}

} // namespace quorvik
