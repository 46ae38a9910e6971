#pragma once

#include "quorvik_island/Terminal/CardState.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// What has changed from one snapshot to the next, in whole sentences, a line each.
std::vector<std::string> changesInWords(const Snapshot& before, const Snapshot& after);

/// A request put as text that somebody reads from top to bottom and answers with a number.
class PlainRequest {
  public:
    explicit PlainRequest(CardState card) : card_(std::move(card)) {}

    const std::string& id() const { return card_.id(); }

    /// The request, or its next question, with the choices, a line each.
    std::vector<std::string> lines() const;

    /// Takes what was typed. An answer when that was the last thing to know. `problem` is a line that tells
    /// what was not understood; empty when the next question is to be put.
    std::optional<ApprovalResponse> take(std::string_view typed, std::string& problem);

  private:
    enum class Choice { allow, always, deny, ask };
    std::vector<Choice> choices() const;

    CardState card_;
};

} // namespace quorvik
