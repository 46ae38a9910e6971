#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/Text/VisibleText.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// One line of a card, of any length: fit to be shown, with no line break in it.
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
    std::vector<VisibleText::Range> escapes; ///< in `text`: stand for one character each, or some
    std::vector<VisibleText::Range> hidden;  ///< in `text`: stand for a credential, "⟦hidden, 40 bytes⟧"

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

/// What somebody needs to see who decides about a request, and what may be offered then.
struct RequestCard {
    /// Where in a text credentials stand, in order and apart from each other; never a stretch in which a
    /// shell would run something.
    using SecretFinder = std::function<std::vector<VisibleText::Range>(std::string_view text)>;

    std::string headline;                ///< "Claude Code asks to run Bash in ~/work/app"
    std::vector<CardLine> body;          ///< the whole input: a command, an edit as a diff, a plan, else JSON
    std::vector<CardQuestion> questions; ///< then `allow` stands for answering all of them
    std::vector<std::string> grants;     ///< what `always` grants, a sentence each
    bool hidesSecrets = false;           ///< there is a hidden stretch in `body`

    // Only what the agent honours. `allow` and `always` may be offered once all of `body` has been in view.
    bool allow = false, always = false, deny = false, ask = true;
    std::string whyNoAllow; ///< one line; empty when `allow`

    /// `secrets` is empty to hide nothing. `home` is the user's home folder.
    static RequestCard of(const WaitingRequest& waiting, const SecretFinder& secrets, std::string_view home);
};

/// Of two answers to a multiple-choice question: "Small, Large".
std::string joinedAnswers(const std::vector<std::string>& labels);

} // namespace quorvik
