#pragma once

#include "QuorvikCore/JSON/RawValue.h"
#include "QuorvikCore/Session/Source.h"

#include <functional>
#include <string>
#include <vector>

namespace quorvik::Doctor {

/// One thing that was looked at, and how it is.
struct Check {
    enum class State {
        well,
        note, ///< nothing to do about it, but worth knowing
        warn, ///< something does not work as it should
        bad   ///< something does not work
    };

    std::string id; ///< for scripts, the same in every version: "agents.claude.fires"
    State state;
    std::string words;  ///< one line for the user
    std::string advice; ///< what to do, one line; empty where nothing is to be done

    /// "✓", "–", "!" or "✗".
    static std::string_view mark(State state);
};

/// Collects checks, and hands each on as soon as it is known: some take seconds.
class Findings {
  public:
    using Listener = std::function<void(const Check&)>;

    explicit Findings(Listener listener) : listener_(std::move(listener)) {}

    void well(std::string id, std::string words);
    void note(std::string id, std::string words, std::string advice = {});
    void warn(std::string id, std::string words, std::string advice);
    void bad(std::string id, std::string words, std::string advice);

    /// Whether nothing is to be done: no check is `warn` or `bad`.
    bool isAllWell() const { return isAllWell_; }

  private:
    void add(Check check);

    Listener listener_;
    bool isAllWell_ = true;
};

/// The id of an agent's check: "agents.claude.fires".
std::string agentCheck(Source agent, std::string_view check);

/// "a, b and c".
std::string listed(const std::vector<std::string>& names);

/// The text, with an "s" unless the count is one: "1 hook", "2 hooks".
std::string counted(std::size_t count, std::string_view what);

} // namespace quorvik::Doctor

template <>
inline constexpr std::array<std::string_view, 4> quorvik::rawValues<quorvik::Doctor::Check::State> = {
    "well", "note", "warn", "bad"};
