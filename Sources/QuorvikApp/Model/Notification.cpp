#include "QuorvikApp/Model/Notification.h"

#include "QuorvikCore/Text/Markup.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cstdint>

namespace quorvik {

namespace {

constexpr std::string_view denyAction = "deny", showAction = "show";

/// What notify-send shows as `text` literally: it undoes the escapes of a C string first, and then the
/// desktop takes the rest for markup.
std::string escapedBody(std::string_view text) {
    std::string result;
    for (const char c : markupEscaped(text))
        result.append(c == '\\' ? 2 : 1, c);
    return result;
}

} // namespace

Notification Notification::of(const ApprovalRequest& request) {
    Notification notification;
    const std::string agent(displayName(request.source));
    const std::string tool = Unicode::terminalLine(request.tool.value_or(""));
    if (request.isQuestion())
        notification.title = agent + " has a question";
    else
        notification.title = agent + " asks to run " + (tool.empty() ? "a tool" : tool);
    notification.body = Unicode::terminalLine(request.summary.value_or(""));
    if (!request.cwd.empty()) {
        if (!notification.body.empty()) notification.body += '\n';
        notification.body += "in " + Unicode::terminalLine(request.cwd);
    }
    notification.canDeny = !request.isQuestion();
    return notification;
}

std::vector<std::string> notifySendCommand(const Notification& notification,
                                           std::optional<std::uint32_t> replaces) {
    // Critical: an agent is blocked, and such a notification does not go away by itself.
    std::vector<std::string> command = {"notify-send", "--app-name=Quorvik", "--urgency=critical",
                                        "--print-id", "--wait"};
    if (replaces) command.push_back("--replace-id=" + std::to_string(*replaces));
    if (notification.canDeny) command.push_back("--action=" + std::string(denyAction) + "=Deny");
    command.push_back("--action=" + std::string(showAction) + "=Show");
    command.insert(command.end(), {"--", notification.title, escapedBody(notification.body)});
    return command;
}

std::vector<std::string> osascriptCommand(const Notification& notification) {
    // The texts are arguments of the script and never part of it.
    return {"osascript",
            "-e",
            "on run argv",
            "-e",
            "display notification (item 2 of argv) with title (item 1 of argv)",
            "-e",
            "end run",
            notification.title,
            notification.body};
}

NotifySendOutput NotifySendOutput::parse(std::string_view output) {
    NotifySendOutput parsed;
    for (std::size_t end; (end = output.find('\n')) != output.npos; output.remove_prefix(end + 1)) {
        const std::string_view line = output.substr(0, end);
        if (line == denyAction)
            parsed.action = Action::deny;
        else if (line == showAction || line == "default")
            parsed.action = Action::show;
        else if (const auto id = Number::integer<std::int64_t>(line);
                 id && *id > 0 && *id <= UINT32_MAX && !parsed.id)
            parsed.id = static_cast<std::uint32_t>(*id);
    }
    return parsed;
}

NotificationsDue NotificationsDue::of(std::span<const std::shared_ptr<const WaitingRequest>> requests,
                                      const std::set<std::string, std::less<>>& shown,
                                      const Settings& settings, Date now) {
    NotificationsDue due;
    if (!settings.notifications) return due;
    for (const auto& waiting : requests) {
        if (shown.contains(waiting->request.id)) continue;
        const Date moment = waiting->receivedAt + std::chrono::duration<double>(settings.notifyAfter);
        if (moment <= now || waiting->receivedAt > now)
            due.ids.push_back(waiting->request.id);
        else
            due.next = std::min(due.next.value_or(moment), moment);
    }
    return due;
}

} // namespace quorvik
