#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/Source.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What is remembered of agents' hooks when the records of their sessions are gone, in one small file
/// (docs/files.md): whether they fire at all, and what of an agent's we do not understand. An agent that
/// changes what it sends would otherwise just fall silent.
///
/// Writers queue on a lock and give up after 500 milliseconds, since hooks are among them. Nothing here
/// throws; what cannot be written is not remembered.
namespace quorvik::HookLedger {

/// A kind of event that came and was not understood.
struct NotUnderstood {
    Source agent;
    /// The name that the agent gave, as far as it is letters, digits, "-" and "_" (else "_" stands there), at
    /// most 40 of them; or one of the two below.
    std::string event;
    std::int64_t count = 0;
    Date first{}, last{};

    bool operator==(const NotUnderstood&) const = default;
};

inline constexpr std::string_view unreadable = "(unreadable)"; ///< a payload that is no JSON object
inline constexpr std::string_view incomplete = "(incomplete)"; ///< it names no event, or no session

/// Kinds that are kept; a further one takes the place of the one that has not come for the longest time.
inline constexpr std::size_t mostKinds = 50;

struct Agent {
    std::optional<Date> installedAt; ///< when our hooks were last written into its settings
    std::optional<Date> lastEventAt; ///< of the sessions whose records were removed

    bool operator==(const Agent&) const = default;
};

struct Content {
    std::map<Source, Agent> agents;
    std::vector<NotUnderstood> notUnderstood; ///< in the order in which they came first
};

std::filesystem::path file();

/// Empty when there is no such file, or none that can be understood.
Content read();

/// Counts one event. `event` is the agent's name for it, or one of the texts above.
void countNotUnderstood(Source agent, std::string_view event, Date now);

void noteInstall(Source agent, Date now);

/// An earlier time than the one that is noted changes nothing.
void noteLastEvents(const std::map<Source, Date>& times);

} // namespace quorvik::HookLedger
