#pragma once

#include "QuorvikApp/FrontEnds/CardState.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// The differences between two snapshots in whole sentences, a line each.
std::vector<std::string> changesInWords(const Snapshot& before, const Snapshot& after);

/// A request as text that is read from top to bottom and answered with a number.
class PlainRequest {
  public:
    explicit PlainRequest(CardState card) : card_(std::move(card)) {}

    const std::string& id() const { return card_.id(); }

    /// The request, or its next question, with its choices, a line each.
    std::vector<std::string> lines() const;

    /// Takes a typed line. Returns the answer when it is complete. Otherwise `problem` says what was not
    /// understood; when it is empty, lines() has something new to put.
    std::optional<ApprovalResponse> take(std::string_view typed, std::string& problem);

  private:
    enum class Choice { showHidden, allow, always, deny, ask };
    std::vector<Choice> choices() const;

    CardState card_;
};

} // namespace quorvik
