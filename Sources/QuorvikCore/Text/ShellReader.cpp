#include "QuorvikCore/Text/ShellReader.h"

#include "QuorvikCore/Text/CharacterSet.h"

#include <algorithm>
#include <utility>

namespace quorvik {

namespace {

constexpr std::size_t longestName = 32; // what is longer is none of these names

/// Words that a command may follow.
constexpr std::string_view reservedWords[] = {"!",    "{",      "}",         "if",    "then",
                                              "elif", "else",   "do",        "while", "until",
                                              "time", "coproc", "nocorrect", "noglob"};

/// Programs that read what is handed to them as a command once more, also when another program starts them.
constexpr std::string_view shells[] = {"sh",  "bash", "dash", "zsh",     "ksh",  "mksh", "ash",   "fish",
                                       "csh", "tcsh", "rsh",  "busybox", "eval", "ssh",  "xargs", "parallel"};

/// More programs that run what is handed to them. Their names are everyday words, so they count only where a
/// command's name stands, or among the arguments of a launcher.
constexpr std::string_view readers[] = {".",     "source", "trap", "alias",   "find",
                                        "watch", "script", "su",   "function"};

constexpr std::string_view launchers[] = {"sudo",   "doas",    "env",    "exec",    "command",   "builtin",
                                          "nohup",  "nice",    "ionice", "timeout", "setsid",    "stdbuf",
                                          "strace", "unshare", "flock",  "chroot",  "caffeinate"};

template <std::size_t count>
bool isOneOf(std::string_view name, const std::string_view (&names)[count]) {
    return std::ranges::find(names, name) != std::end(names);
}

constexpr CharacterSet nameCharacters("A-Za-z0-9_"), digits("0-9");

bool consistsOf(const CharacterSet& set, std::string_view text) {
    return set.endOfRun(text, 0) == text.size();
}

bool isSeparator(char c) {
    return std::string_view("\n\r;|&()").find(c) != std::string_view::npos;
}

} // namespace

std::size_t ShellReader::endOfData(std::size_t begin, std::size_t end) {
    while (at_ < begin && !isDoubtful_)
        step();
    if (isDoubtful_ || at_ != begin || !isAtData()) return begin;
    while (at_ < end && !isAtBreak())
        step();
    return at_ < end && isAtExpansion() ? begin : std::min(at_, end);
}

bool ShellReader::isAtData() const {
    if (isInWord_ && isAssignment_) return true;
    return hasCommand_ && !expectsTarget_ && (!runsArguments_ || (isInWord_ && hasEquals_));
}

/// Whether something begins here that is run or expanded, by the shell or behind it.
bool ShellReader::isAtExpansion() const {
    const bool mayExpand = quote_ != Quote::single;
    const std::size_t start = mayExpand && following(0) == '\\' ? 1 : 0;
    const char c = following(start);
    if (c == '$' && mayExpand && start == 0) return true;
    // Single quotes and a backslash hide these from the shell, but make runs them, and so may a program that
    // gets the value. The bracket behind a "$" may be quoted in another way than the "$".
    const bool opens = std::string_view("({'\"\\").find(following(start + 1)) != std::string_view::npos;
    return c == '`' || (c == '$' && opens);
}

/// Whether something begins here that is more than data.
bool ShellReader::isAtBreak() const {
    if (isAtExpansion()) return true;
    const char c = text_[at_];
    if (quote_ == Quote::single) return false;
    if (c == '\\' && following(1) == '\n') return true;
    const bool isComment = c == '#' && !isInWord_; // zsh reads it as a word while somebody types
    return quote_ == Quote::none &&
           (isSeparator(c) || isComment || std::string_view(" \t<>").find(c) != std::string_view::npos);
}

void ShellReader::step() {
    const char c = text_[at_];
    const bool isExpanding = quote_ != Quote::single;
    if (isExpanding && c == '\\') {
        if (following(1) != '\n') add(following(1));
        at_ = std::min(at_ + 2, text_.size());
        return;
    }
    const bool isOperator = c == '$' && (following(1) == '(' || following(1) == '{' || following(1) == '[' ||
                                         (quote_ == Quote::none && following(1) == '\''));
    if (isExpanding && (c == '`' || isOperator)) {
        isDoubtful_ = true;
    } else if (quote_ == Quote::none) {
        stepUnquoted(c);
    } else if (c == (quote_ == Quote::single ? '\'' : '"')) {
        quote_ = Quote::none;
    } else {
        add(c);
    }
    ++at_;
}

void ShellReader::stepUnquoted(char c) {
    if (c == ' ' || c == '\t') {
        endWord();
    } else if (c == '<' || c == '>') {
        redirect();
    } else if (isSeparator(c)) {
        const char before = at_ > 0 ? text_[at_ - 1] : '\0';
        const bool belongsToRedirection = (c == '&' || c == '|') && (before == '>' || before == '<');
        if (!belongsToRedirection) endCommand();
    } else if (c == '#' && !isInWord_) {
        at_ = std::min(text_.find('\n', at_), text_.size()) - 1;
    } else if (c == '"' || c == '\'') {
        beginWord();
        quote_ = c == '"' ? Quote::twice : Quote::single;
    } else {
        if (c == '=' && isInWord_ && !std::exchange(hasEquals_, true)) {
            const std::string_view word = text_.substr(wordStart_, at_ - wordStart_);
            isAssignment_ = !hasCommand_ && !expectsTarget_ && !digits.contains(word[0]) &&
                            consistsOf(nameCharacters, word);
        }
        add(c);
    }
}

/// A word that touches the operator may be the number, or the variable, of what is redirected.
void ShellReader::redirect() {
    const char c = text_[at_];
    const bool isTwice = c == '<' && following(1) == '<', isText = isTwice && following(2) == '<';
    if (following(1) == '(' || (isTwice && !isText)) isDoubtful_ = true;
    if (isText) at_ += 2;
    if (isInWord_ && (consistsOf(digits, name_) || name_.starts_with('{')))
        isInWord_ = false;
    else
        endWord();
    expectsTarget_ = true;
}

void ShellReader::beginWord() {
    if (isInWord_) return;
    isInWord_ = true;
    wordStart_ = at_;
    hasEquals_ = isAssignment_ = false;
    name_.clear();
}

void ShellReader::add(char c) {
    beginWord();
    if (c == '/')
        name_.clear();
    else if (name_.size() < longestName)
        name_ += c;
}

void ShellReader::endWord() {
    if (!std::exchange(isInWord_, false)) return;
    if (std::exchange(expectsTarget_, false) || isAssignment_) return;
    const bool namesCommand = !hasCommand_ && !name_.starts_with('-') && !isOneOf(name_, reservedWords);
    const bool isUnknown = namesCommand && name_.find_first_of("$*?[") != name_.npos;
    if (isUnknown || isOneOf(name_, shells) || ((namesCommand || runsArguments_) && isOneOf(name_, readers)))
        isDoubtful_ = true;
    if (!namesCommand) return;
    hasCommand_ = true;
    runsArguments_ = isOneOf(name_, launchers);
}

void ShellReader::endCommand() {
    endWord();
    hasCommand_ = runsArguments_ = expectsTarget_ = false;
}

char ShellReader::following(std::size_t distance) const {
    return at_ + distance < text_.size() ? text_[at_ + distance] : '\0';
}

} // namespace quorvik
