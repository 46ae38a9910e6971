#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorvik {

/// Tells which parts of a command line are data to the shells of the Bourne family: parts of arguments and of
/// assigned values, in which nothing is run or expanded. For those who hide data and must not hide what runs.
///
/// In doubt a part is no data. It is none when it holds a substitution that only quotes or a backslash
/// keep from the shell: make would run it. A comment is none. Everything is doubtful that comes after a
/// command substitution, a parameter with an operator, a here-document or a process substitution, after a
/// command whose name comes from a variable or a pattern, and after the name of a program that runs a text (a
/// shell, eval, ssh, xargs…). Behind a program that runs its arguments (sudo, env, exec…) only what follows a
/// "=" is data. Texts that are no command lines are read as if they were.
class ShellReader {
  public:
    /// `text` must outlive the reader.
    explicit ShellReader(std::string_view text) : text_(text) {}

    /// The end of the part of [begin, end) that is data, from `begin` on. That is `begin` itself when no data
    /// begins there, or when the same word, within [begin, end), holds an expansion. `begin` must not lie
    /// before the `end` of an earlier call. All calls together take time proportional to the text.
    std::size_t endOfData(std::size_t begin, std::size_t end);

  private:
    enum class Quote { none, single, twice };

    bool isAtData() const;
    bool isAtExpansion() const;
    bool isAtBreak() const;
    void step();
    void stepUnquoted(char c);
    void redirect();
    void beginWord();
    void add(char c);
    void endWord();
    void endCommand();
    char following(std::size_t distance) const;

    std::string_view text_;
    std::size_t at_ = 0;
    bool isDoubtful_ = false;

    // The word that the reader is in, if any.
    bool isInWord_ = false;
    Quote quote_ = Quote::none;
    std::size_t wordStart_ = 0;
    bool hasEquals_ = false;
    bool isAssignment_ = false;
    std::string name_; ///< without quotes and folders

    // The simple command that the reader is in.
    bool hasCommand_ = false;    ///< the word that names the command is over
    bool runsArguments_ = false; ///< it is a launcher
    bool expectsTarget_ = false; ///< the next word belongs to a redirection
};

} // namespace quorvik
