#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/Text/VisibleText.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One line of a card, of any length, with nothing in it that deceives the eye and no line break.
struct CardLine {
    enum class Kind {
        text,    ///< for people: a plan, a question
        command, ///< what a shell would run
        removed, ///< of an edit
        added,
        context, ///< of an edit: stays
        member,  ///< of the tool's input: "name: value", or JSON
        note     ///< our own remark
    };
    Kind kind = Kind::text;
    std::string text;
    std::vector<VisibleText::Range> escapes; ///< in `text`: escapes, each for one character or a few
    std::vector<VisibleText::Range> hidden;  ///< in `text`: "⟦hidden, 40 bytes⟧" for a credential

    bool operator==(const CardLine&) const = default;
};

struct CardQuestion {
    std::vector<CardLine> text; ///< the heading, if any, and the question
    struct Option {
        CardLine label, description; ///< on one line each
        std::string answer;          ///< the label as the agent wrote it
    };
    std::vector<Option> options;
    bool multiSelect = false;
};

/// Everything that somebody who decides about a request must see, and the answers that may be offered.
struct RequestCard {
    /// Finds the credentials in a text: stretches in order and without overlap, none of which holds anything
    /// that a shell would run.
    using SecretFinder = std::function<std::vector<VisibleText::Range>(std::string_view text)>;

    std::string headline;                ///< "Claude Code asks to run Bash in ~/work/app"
    std::vector<CardLine> body;          ///< the whole input: a command, an edit as a diff, a plan, else JSON
    std::vector<CardQuestion> questions; ///< if any, `allow` means that all of them can be answered
    std::vector<std::string> grants;     ///< what `always` grants, a sentence each
    bool hidesSecrets = false;           ///< there is a hidden stretch in `body`

    // The answers that the agent honours. `allow` and `always` may be offered once all of `body` has been in
    // view.
    bool allow = false, always = false, deny = false, ask = true;
    std::string whyNoAllow; ///< one line; empty when `allow`

    /// Makes the card. `secrets` is empty to hide nothing. `home` is the user's home folder.
    static RequestCard of(const WaitingRequest& waiting, const SecretFinder& secrets, std::string_view home);

    /// The finder for front ends: Redactor::secrets().
    static std::vector<VisibleText::Range> credentials(std::string_view text);
};

/// The labels chosen in a multiple-choice question, as one answer: "Small, Large".
std::string joinedAnswers(const std::vector<std::string>& labels);

} // namespace quorvik
