#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace quorvik {

/// The kinds of secrets that Redactor hides, in the order in which it looks for them. Each is given as a
/// Perl-compatible pattern, in which \s, \b and \w know all of Unicode; what is hidden is its last group.
enum class SecretRule {
    /// (?i)authorization\s*[:=]\s*(?:bearer\s+|basic\s+|token\s+)?([^\s'"]+)
    authorization,
    /// (?i)\bbearer\s+([^\s'"]+)
    bearer,
    /// (?i)--?[a-z0-9_-]*(?:token|password|passwd|secret|api[-_]?key|access[-_]?key)[=\s]+("[^"]*"|'[^']*'|[^\s]+)
    option,
    /// \b[A-Za-z_][A-Za-z0-9_]*=("[^"]*"|'[^']*'|[^\s]+)
    assignment,
    /// \b(sk-[A-Za-z0-9_-]{6,}|sk_(?:live|test)_[A-Za-z0-9]{6,}|gh[pousr]_[A-Za-z0-9]{10,}|
    /// github_pat_[A-Za-z0-9_]{10,}|xox[abprs]-[A-Za-z0-9-]{6,}|AKIA[0-9A-Z]{12,}|AIza[0-9A-Za-z_-]{20,})
    knownToken,
    /// ([A-Za-z0-9+/_=.-]{21,}), if it looks random
    randomToken,
};

/// Finds the matches of one rule in a text, or in the known start of a longer one, from left to right. Takes
/// time proportional to the text, whatever it holds, and allocates no memory.
class SecretSearch {
  public:
    struct Match {
        std::size_t begin; ///< of the whole match; exact for SecretRule::bearer only
        std::size_t value; ///< where the part to be hidden begins
        std::size_t end;
    };

    /// `text` must be UTF-8 and outlive the search. `isWhole` tells that nothing follows `text`.
    SecretSearch(std::string_view text, bool isWhole, SecretRule rule)
        : text_(text), isWhole_(isWhole), rule_(rule) {}

    /// The next match. Absent when there is none, or when it depends on what follows the text.
    std::optional<Match> next();

    /// After the last match: the position before which no further match begins, whatever follows the text.
    std::size_t settledEnd() const { return isUndecided_ ? at_ : text_.size(); }

  private:
    std::optional<Match> authorization(std::size_t at);
    std::optional<Match> bearer(std::size_t at);
    std::optional<Match> option(std::size_t at);
    std::optional<Match> assignment(std::size_t equals);
    std::optional<Match> knownToken(std::size_t at);
    std::optional<Match> randomToken(std::size_t at);

    std::size_t candidate() const;
    std::size_t candidateForKnownToken() const;
    std::optional<Match> matchAt(std::size_t at);

    bool isEnd(std::size_t at);
    bool startsWith(std::size_t at, std::string_view word);
    bool isAfterWord(std::size_t at) const;
    std::size_t endOfWord(std::size_t at, std::string_view word);
    std::size_t endOfSpaces(std::size_t at, bool orEquals = false);
    std::size_t endOfBare(std::size_t at, bool orAtQuote);
    std::size_t endOfValue(std::size_t at);
    std::size_t closingQuote(std::size_t from, char quote);

    std::string_view text_;
    bool isWhole_;
    SecretRule rule_;
    std::size_t at_ = 0;         ///< where the search goes on
    std::size_t lastEnd_ = 0;    ///< of the last match
    bool isUndecided_ = false;   ///< the search met a question that only what follows the text can answer
    std::size_t nextQuote_[2]{}; ///< the first double and single quote that is not passed yet
    std::size_t endOfRun_ = 0;   ///< of the option characters around the last "-"
};

} // namespace quorvik
