#include "QuorvikApp/Model/Notification.h"

#include <gtest/gtest.h>

namespace quorvik {

TEST(NotificationTests, TextsAreShownAndDoNothing) {
    ApprovalRequest request;
    request.cwd = "/w<b>";
    request.tool = "Ba\x1b[2Jsh";
    request.summary = "echo \"\\074b>\" && `rm`\n%s";
    request.input = "never shown";
    const Notification permission = Notification::of(request);
    EXPECT_EQ(permission, (Notification{"Claude Code asks to run Ba [2Jsh",
                                        "echo \"\\074b>\" && `rm` %s\nin /w<b>", true}));
    EXPECT_EQ(notifySendCommand(permission, 7),
              (std::vector<std::string>{"notify-send", "--app-name=Quorvik", "--urgency=critical",
                                        "--print-id", "--wait", "--replace-id=7", "--action=deny=Deny",
                                        "--action=show=Show", "--", permission.title,
                                        "echo &quot;\\\\074b&gt;&quot; &amp;&amp; `rm` %s\nin /w&lt;b&gt;"}));
    const auto script = osascriptCommand(permission);
    EXPECT_EQ(script.at(4), "display notification (item 2 of argv) with title (item 1 of argv)");
    EXPECT_EQ(script.at(7), permission.title);
    EXPECT_EQ(script.at(8), permission.body);

    request = {};
    EXPECT_EQ(Notification::of(request), (Notification{"Claude Code asks to run a tool", "", true}));
    request.questions.emplace();
    EXPECT_EQ(Notification::of(request), (Notification{"Claude Code has a question", "", false}));
    for (const std::string& word : notifySendCommand(Notification::of(request), std::nullopt)) {
        EXPECT_FALSE(word.starts_with("--action=deny")); // an answer takes more than a button
        EXPECT_FALSE(word.starts_with("--replace-id"));
    }
}

TEST(NotificationTests, ReadsWhatNotifySendPrints) {
    using Action = NotifySendOutput::Action;
    for (const auto& [output, read] : std::initializer_list<std::pair<std::string, NotifySendOutput>>{
             {"", {}},
             {"7", {}}, // there is more to come
             {"7\n", {7, {}}},
             {"7\ndeny\n", {7, Action::deny}},
             {"4294967295\nshow\n", {4294967295, Action::show}},
             {"7\ndefault\n", {7, Action::show}},
             {"7\nden", {7, {}}},
             {"0\n-3\n4294967296\nDeny\nno\n", {}}})
        EXPECT_EQ(NotifySendOutput::parse(output), read) << output;
}

TEST(NotificationTests, DueWhenItHasWaitedUnseen) {
    Settings settings;
    settings.notifyAfter = 10;
    std::vector<std::shared_ptr<const WaitingRequest>> requests;
    for (const auto& [id, seconds] : {std::pair("a", 100), {"b", 105}, {"c", 107}}) {
        WaitingRequest waiting;
        waiting.request.id = id;
        waiting.receivedAt = dateFromSeconds(seconds);
        requests.push_back(std::make_shared<const WaitingRequest>(waiting));
    }
    struct Case {
        double now;
        std::set<std::string, std::less<>> shown;
        std::vector<std::string> ids;
        std::optional<Date> next;
    };
    for (const auto& [now, shown, ids, next] :
         std::initializer_list<Case>{{109, {}, {}, dateFromSeconds(110)},
                                     {110, {}, {"a"}, dateFromSeconds(115)},
                                     {110, {"a", "b"}, {}, dateFromSeconds(117)},
                                     {117, {"x"}, {"a", "b", "c"}, {}},
                                     {106, {"a", "b"}, {"c"}, {}}, // from before the clock was set back
                                     {117, {"a", "b", "c"}, {}, {}}})
        EXPECT_EQ(NotificationsDue::of(requests, shown, settings, dateFromSeconds(now)),
                  (NotificationsDue{ids, next}))
            << now;
    settings.notifications = false;
    EXPECT_EQ(NotificationsDue::of(requests, {}, settings, dateFromSeconds(200)), NotificationsDue{});
}

} // namespace quorvik
