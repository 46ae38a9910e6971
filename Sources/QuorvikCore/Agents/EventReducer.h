#pragma once

#include "QuorvikCore/Agents/HookEvent.h"
#include "QuorvikCore/Session/SessionRecord.h"

/// Decides what an agent's session is doing and what the island shows for it. The one place that does.
namespace quorvik::EventReducer {

/// Folds one event into the record of its session, in place. False when the event means nothing to the user
/// (an unknown name, a notification that asks nothing); its folder, name and time are recorded nevertheless.
/// Touches `cwd`, `state`, `stateSince`, `tool`, `summary`, `title`, `turnStartedAt`, `updatedAt` and
/// `lastEvent`. Pure: `now` is the only clock.
bool apply(const HookEvent& event, SessionRecord& record, Date now);

/// Whether there is a rule for events of this (canonical) name.
bool knows(std::string_view event);

} // namespace quorvik::EventReducer
