#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// A desktop notification of a request that waits while no front end shows it. It has room for the masked
/// summary only, so it never offers to allow anything.
struct Notification {
    std::string title; ///< one line
    std::string body;  ///< a line or two
    bool canDeny = false;

    static Notification of(const ApprovalRequest& request);

    bool operator==(const Notification&) const = default;
};

/// The command that shows it on a freedesktop desktop, and takes the place of the notification with the
/// number `replaces`, if that is given. It runs until the notification is closed; SIGINT makes it close the
/// notification and end with status 0, SIGTERM leaves the notification standing. What it prints is for
/// NotifySendOutput, and into a pipe it all comes at the end.
std::vector<std::string> notifySendCommand(const Notification& notification,
                                           std::optional<std::uint32_t> replaces);

/// The command that shows it on macOS: it ends at once, and there are no actions.
std::vector<std::string> osascriptCommand(const Notification& notification);

/// What notify-send has printed.
struct NotifySendOutput {
    enum class Action {
        deny,
        show ///< the button, or a click on the notification itself
    };
    std::optional<std::uint32_t> id; ///< of the notification
    std::optional<Action> action;    ///< what the user chose

    /// Reads whole lines; an unfinished line is passed over, and so is what notify-send never prints.
    static NotifySendOutput parse(std::string_view output);

    bool operator==(const NotifySendOutput&) const = default;
};

/// The requests that are to have a notification.
struct NotificationsDue {
    std::vector<std::string> ids; ///< now, in the order of the requests; also those that have theirs already
    std::optional<Date> next;     ///< when to ask again, if nothing happens; absent: not at all

    /// `shown`: ids of the requests that are in front of the user somewhere. A request that arrives after
    /// `now` was there before the clock was set back: how long it has waited is not known, and it is due.
    static NotificationsDue of(std::span<const std::shared_ptr<const WaitingRequest>> requests,
                               const std::set<std::string, std::less<>>& shown, const Settings& settings,
                               Date now);

    bool operator==(const NotificationsDue&) const = default;
};

} // namespace quorvik
