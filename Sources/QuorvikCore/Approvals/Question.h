#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One choice of a question. JSON keys are the field names.
struct QuestionOption {
    std::string label; ///< what is answered when it is chosen
    std::string description;

    static QuestionOption fromJSON(const nlohmann::json& value); ///< Strict: throws RecordError.
    nlohmann::json toJSON() const;

    bool operator==(const QuestionOption&) const = default;
};

/// A multiple-choice question that an agent asks the user. JSON keys are the field names.
struct Question {
    std::string question;
    std::string header; ///< a short heading
    std::vector<QuestionOption> options;
    bool multiSelect = false; ///< more than one option may be chosen

    static constexpr std::size_t maxQuestions = 4;
    static constexpr std::size_t maxOptions = 6;

    /// Whether the tool of that name, of whichever agent, puts questions to the user.
    static bool isTool(std::string_view name);

    /// An agent's question list: 1 to 4 objects, each with a "question" and 1 to 6 "options" that have a
    /// "label"; texts that must be there must not be empty, and what may be missing ("header", "description",
    /// "multiSelect") counts as missing when it has another type. Absent when anything is wrong with any of
    /// it: half a list would be answered wrongly. Null stands for no list.
    static std::optional<std::vector<Question>> parse(const nlohmann::json& value);

    static Question fromJSON(const nlohmann::json& value); ///< Strict: throws RecordError.
    nlohmann::json toJSON() const;

    bool operator==(const Question&) const = default;
};

} // namespace quorvik
