#include "QuorvikApp/Model/IslandModel.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

const Date start = dateFromSeconds(1'763'700'000);

Date after(double seconds) {
    return start + std::chrono::duration<double>(seconds);
}

ApprovalRequest permission(std::string id, Source source = Source::claude) {
    ApprovalRequest request;
    request.id = std::move(id);
    request.source = source;
    request.sessionID = "s";
    request.cwd = "/w";
    request.tool = "Bash";
    return request;
}

ApprovalRequest question(std::string id, std::size_t count, Source source = Source::claude) {
    ApprovalRequest request = permission(std::move(id), source);
    request.questions.emplace(count, Question{"Which?", "", {{"One", ""}, {"Two", ""}}, false});
    return request;
}

ApprovalResponse response(ApprovalDecision decision,
                          std::optional<std::vector<std::string>> answers = std::nullopt) {
    return {decision, std::nullopt, std::move(answers)};
}

AlertRequest alert(std::string title, AlertLevel level = AlertLevel::info, std::int64_t ttl = 0,
                   std::optional<std::string> id = std::nullopt) {
    return {std::move(title), "", level, std::nullopt, std::move(id), ttl};
}

std::shared_ptr<const SessionRecord> record(std::string id, SessionState state, double age = 0) {
    SessionRecord made(Source::build, std::move(id), "/w", after(-age));
    made.state = state;
    return std::make_shared<const SessionRecord>(std::move(made));
}

/// The labels (or ids) of what is shown, the most urgent first.
std::string shown(IslandModel& model, Date now) {
    std::string text;
    const Snapshot snapshot = model.snapshot(now);
    for (const SnapshotItem* item : snapshot.items())
        text += (text.empty() ? "" : " ") + item->record->title.value_or(item->record->sessionID);
    return text;
}

} // namespace

TEST(RequestBoard, TakesOnlyWhatTheAgentHonours) {
    using enum ApprovalDecision;
    using Answers = std::vector<std::string>;
    ApprovalRequest always = permission("always");
    always.suggestions = R"([{"type":"setMode","mode":"acceptEdits","destination":"session"}])";
    ApprovalRequest riddle = permission("riddle");
    riddle.suggestions = R"([{"type":"somethingNew"}])";
    ApprovalRequest plan = permission("plan");
    plan.tool = "ExitPlanMode";
    ApprovalRequest cut = permission("cut"), brief = permission("brief");
    cut.input = R"({"command":"l)";
    cut.inputTruncated = true;
    brief.summary = "a masked line";

    RequestBoard board;
    for (const ApprovalRequest& request :
         {permission("plain"), always, riddle, plan, cut, brief, question("one", 1), question("two", 2),
          question("grok", 1, Source::grok)})
        ASSERT_TRUE(board.add(request, "{}", start)) << request.id;
    EXPECT_FALSE(board.add(permission("plain", Source::codex), "{}", start)) << "its id is taken";

    struct Case {
        std::string id;
        ApprovalResponse answer;
        std::string refusal; ///< how it begins; empty: taken
    };
    for (const auto& [id, answer, refusal] : std::initializer_list<Case>{
             {"plain", response(allow), ""},
             {"plain", response(deny), ""},
             {"plain", response(ask), ""},
             {"plain", response(allowAlways), "\"always\" is not offered"},
             {"plain", response(allow, Answers{"One"}), "this is no question"},
             {"always", response(allowAlways), ""},
             {"riddle", response(allowAlways), "\"always\" is not offered"}, // what it grants cannot be said
             {"plan", response(allow), "Claude Code takes this permission only in its own interface"},
             {"plan", response(deny), ""},
             {"cut", response(allow), "not all of it can be seen here"},
             {"cut", response(deny), ""},
             {"brief", response(allow), "not all of it can be seen here"},
             {"one", response(allow), "there is 1 question, each wants one answer"},
             {"one", response(allow, Answers{"my own words"}), ""},
             {"one", response(allow, Answers{""}), "an answer is empty"},
             {"one", response(allowAlways, Answers{"One"}), "this is a question"},
             {"one", response(deny), ""},
             {"two", response(allow, Answers{"One"}), "there are 2 questions"},
             {"grok", response(deny), "Grok Build takes answers only"},
             {"grok", response(allow, Answers{"Two"}), ""},
             {"nobody", response(allow), "there is no such request"}}) {
        const auto refused = board.check(id, answer);
        EXPECT_TRUE(refusal.empty() ? !refused : refused && refused->message.starts_with(refusal))
            << id << " " << rawValue(answer.decision) << ": " << (refused ? refused->message : "taken");
    }

    board.answered("plain", "the island");
    EXPECT_EQ(board.check("plain", response(allow))->message, "answered already, by the island");
    EXPECT_TRUE(board.withdraw("always"));
    EXPECT_FALSE(board.withdraw("always"));
    EXPECT_EQ(board.check("always", response(allow))->reason, RequestBoard::Refusal::Reason::withdrawn);
    EXPECT_EQ(board.waiting().size(), 7U);
}

TEST(RequestBoard, TurnsAwayWhatIsTooMuch) {
    RequestBoard board;
    for (std::size_t index = 0; index < RequestBoard::mostWaiting; ++index)
        ASSERT_TRUE(board.add(permission(std::to_string(index)), "{}", start));
    EXPECT_FALSE(board.add(permission("more"), "{}", start));
    for (std::size_t index = 0; index < RequestBoard::mostRemembered + 5; ++index) {
        board.withdraw("0");
        ASSERT_TRUE(board.add(permission("0"), "{}", start)); // an id may come again once it is over
    }
}

TEST(IslandModel, ShowsAlertsForTheirTimeWhateverTheClockDoes) {
    struct Case {
        std::string why;
        AlertRequest alert;
        double last; ///< seconds after which it is still there; two later it is not
    };
    for (const auto& [why, sent, last] : std::initializer_list<Case>{
             {"of no time of its own", alert("a"), AlertBoard::usualSeconds - 1},
             {"an action", alert("a", AlertLevel::action), AlertBoard::usualSeconds - 1},
             {"a failure", alert("a", AlertLevel::fail), AlertBoard::failureSeconds - 1},
             {"short", alert("a", AlertLevel::info, 2), 1},
             {"a short failure", alert("a", AlertLevel::fail, 2), 1},
             {"long", alert("a", AlertLevel::info, 86'400), 86'399}}) {
        for (const double setBack : {0.0, 86'400.0}) {
            IslandModel model;
            EXPECT_EQ(model.addAlert(sent, start).status, "ok");
            EXPECT_EQ(shown(model, after(-setBack)), "a") << why;
            EXPECT_EQ(shown(model, after(last - setBack)), "a") << why << setBack;
            const auto next = model.nextChange(after(last - setBack));
            ASSERT_TRUE(next) << why;
            EXPECT_NEAR((*next - after(last - setBack)).count(), 1, 1e-3) << why;
            EXPECT_EQ(shown(model, after(last + 1.001 - setBack)), "") << why << setBack;
        }
    }
}

TEST(IslandModel, RanksReplacesAndForgetsAlerts) {
    IslandModel model;
    model.setSessions({{record("work", SessionState::working)}, {}, {}, {}}, start);
    model.addAlert(alert("info", AlertLevel::info, 0, "x"), start);
    model.addAlert(alert("act", AlertLevel::action), after(1));
    model.addAlert(alert("fail", AlertLevel::fail), after(2));
    EXPECT_EQ(shown(model, after(3)), "fail work act info");
    model.addAlert(alert("again", AlertLevel::fail, 0, "x"), after(4)); // takes the place of "info"
    EXPECT_EQ(shown(model, after(5)), "again fail work act");
    EXPECT_EQ(model.snapshot(after(5)).alerts.size(), 3U);
    EXPECT_TRUE(model.acknowledge("git-alert-x", after(5)));
    EXPECT_FALSE(model.acknowledge("git-alert-x", after(5)));
    EXPECT_EQ(model.acknowledgeAll(after(5)), 2U);
    EXPECT_EQ(shown(model, after(5)), "work");

    // A flood: the least important go first, and there is an end to it.
    model.addAlert(alert("keep", AlertLevel::fail), after(6));
    for (int index = 0; index < 1000; ++index)
        model.addAlert(alert(std::to_string(index)), after(6));
    const Snapshot flooded = model.snapshot(after(7));
    EXPECT_EQ(flooded.alerts.size(), AlertBoard::most);
    EXPECT_EQ(flooded.primary->record->title, "keep");
    EXPECT_EQ(flooded.alerts.back().alert.title, "999");

    Settings off;
    off.alerts = false;
    model.setSettings(off, after(8));
    EXPECT_EQ(model.addAlert(alert("no"), after(8)).status, "disabled");
}

TEST(IslandModel, TakesNoAlertsWhileTheyArePaused) {
    IslandModel model;
    model.addAlert(alert("before", AlertLevel::fail), start);
    model.pauseAlerts(100, after(1));
    for (int index = 0; index < 3; ++index)
        EXPECT_EQ(model.addAlert(alert("during"), after(2)).status, "disabled");
    EXPECT_EQ(shown(model, after(3)), "before");
    const auto why = model.why("", after(3));
    EXPECT_EQ(
        std::ranges::count_if(why, [](const auto& line) { return line.find("paused until") != line.npos; }),
        3)
        << "that they are, since when, and what was turned away in one line";
    SnapshotWriter writer;
    EXPECT_EQ(Snapshot::fromJSON(writer.text(model.snapshot(after(3)))).alertsPausedUntil, after(101));

    IslandModel next; // after a restart of the app
    next.setMemory(Memory::parse(model.memory().text()));
    EXPECT_EQ(next.nextChange(after(3)), after(101));
    EXPECT_EQ(next.snapshot(after(101)).alertsPausedUntil, std::nullopt);
    EXPECT_EQ(next.addAlert(alert("after"), after(101)).status, "ok");
    EXPECT_EQ(next.memory().text(), R"({"acknowledged":[]})");

    // Neither a resume nor a clock that was set back leaves a pause.
    model.pauseAlerts(0, after(4));
    EXPECT_EQ(model.addAlert(alert("resumed"), after(4)).status, "ok");
    model.pauseAlerts(100, after(1e9));
    EXPECT_EQ(model.snapshot(start).alertsPausedUntil, after(IslandModel::longestPause));
}

TEST(IslandModel, RemembersWhatWasWavedAwayAndPickedAsLongAsItStands) {
    const auto failed = record("f", SessionState::failed, 5);
    const auto works = record("w", SessionState::working, 9);
    IslandModel model;
    model.setSessions({{failed, works}, {}, {}, {}}, start);
    EXPECT_EQ(shown(model, start), "f w");
    EXPECT_FALSE(model.acknowledge("build-w", start)) << "it is at work: there is nothing to wave away";
    EXPECT_TRUE(model.pick("build-w", start));
    EXPECT_FALSE(model.pick("build-x", start));
    EXPECT_EQ(shown(model, start), "w f");
    EXPECT_TRUE(model.acknowledge("build-f", start));
    EXPECT_EQ(shown(model, start), "w");

    // The next run of the app, with what this one wrote.
    IslandModel next;
    next.setMemory(Memory::parse(model.memory().text()));
    next.setSessions({{failed, works}, {}, {}, {}}, start);
    EXPECT_EQ(shown(next, start), "w");
    // Another failure is shown again; what has moved on is no longer picked.
    next.setSessions(
        {{record("f", SessionState::failed, 1), record("w", SessionState::working, 1)}, {}, {}, {}}, start);
    EXPECT_EQ(shown(next, start), "f w");
    EXPECT_EQ(next.memory().text(), R"({"acknowledged":[]})");
}

TEST(IslandModel, LeavesOutWhatIsLostAndSaysWhy) {
    IslandModel model;
    model.setSessions({{record("w", SessionState::working), record("f", SessionState::failed),
                        record("d", SessionState::done, 10)},
                       {"build-w"},
                       {"/s/bad.json"},
                       {}},
                      start);
    ASSERT_TRUE(model.addRequest(permission("r"), "{}", start));
    EXPECT_EQ(shown(model, start), "f");
    const auto has = [&](std::string_view key, std::string_view line) {
        const auto lines = model.why(key, start);
        return std::ranges::any_of(lines, [&](const auto& each) { return each.find(line) != each.npos; });
    };
    EXPECT_TRUE(has("", "build-w: working; not shown: it claims to be at work"));
    EXPECT_TRUE(has("build-d", "it was done 10 s ago, and that is shown for 4 s (doneLinger)"));
    EXPECT_TRUE(has("", "build-f: failed; shown as failed, in the notch"));
    EXPECT_TRUE(has("", "no readable session record: /s/bad.json"));
    model.withdrawRequest("r", after(1));
    EXPECT_TRUE(has("r", "withdrawn: its hook has gone"));
    EXPECT_FALSE(has("build-f", "build-d"));
    EXPECT_EQ(model.why("r", start).size(), 2U);
    const auto everything = model.why("", start);
    EXPECT_EQ(std::ranges::count_if(everything, [](const auto& line) { return line.ends_with("(r)"); }), 2)
        << "what happened to a request is told once";
    EXPECT_TRUE(model.why("unknown", start).empty());

    // A flood of alerts takes one place among what happened.
    for (int index = 0; index < 5000; ++index)
        model.addAlert({.title = "flood"}, start);
    EXPECT_TRUE(has("", "came as the last of 5000 alerts in a row: flood"));
    EXPECT_TRUE(has("r", "withdrawn: its hook has gone"));

    for (int index = 0; index < 4; ++index)
        model.answerRefused("r" + std::to_string(index), "bash, process 7", after(index));
    EXPECT_EQ(model.snapshot(after(4)).troubles.size(), 3U);
    EXPECT_LE(model.nextChange(after(3600)), after(3601));
    EXPECT_EQ(model.snapshot(after(3602)).troubles.size(), 1U) << "it is told of for an hour";
}

TEST(Snapshot, ReadsBackWhatItWritesAndSharesWhatStays) {
    IslandModel model;
    model.setSessions(
        {{record("f", SessionState::failed), record("w", SessionState::working)}, {}, {"/bad"}, {}}, start);
    ApprovalRequest request = permission("r");
    request.suggestions = R"([{"type":"setMode","mode":"acceptEdits","destination":"session"}])";
    const std::string members = R"({"id":"r","source":"claude","sessionID":"s","cwd":"/w","tool":"Bash",)"
                                R"("suggestions":"[{\"type\":\"setMode\",\"mode\":\"acceptEdits\",)"
                                R"(\"destination\":\"session\"}]","later":{"deep":[1]}})";
    ASSERT_TRUE(model.addRequest(request, members, start));
    model.addAlert(alert("hi"), start);
    model.setTroubles("x", {"y"}, start);

    SnapshotWriter writer;
    const Snapshot written = model.snapshot(start);
    const std::string text = writer.text(written);
    const Snapshot read = Snapshot::fromJSON(text);
    SnapshotWriter other;
    EXPECT_EQ(other.text(read), other.text(Snapshot::fromJSON(other.text(read))));
    EXPECT_EQ(*read.primary->record, *written.primary->record);
    EXPECT_EQ(read.requests.at(0)->request, request);
    EXPECT_EQ(read.requests.at(0)->grants, written.requests.at(0)->grants);
    EXPECT_FALSE(read.requests.at(0)->grants.empty());
    EXPECT_EQ(read.alerts.at(0).alert, alert("hi"));
    EXPECT_EQ(read.troubles, std::vector<std::string>{"y"});
    EXPECT_EQ(read.corrupt, std::vector<std::string>{"/bad"});
    EXPECT_NE(read.requests.at(0)->members.find(R"("later":{"deep":[1]})"), std::string::npos);
    const Snapshot again = Snapshot::fromJSON(writer.text(written), &read);
    EXPECT_EQ(again.primary->record.get(), read.primary->record.get());
    EXPECT_EQ(again.requests.at(0).get(), read.requests.at(0).get());
    EXPECT_THROW(Snapshot::fromJSON(R"({"revision":1,"overflow":[{"display":"x"}]})"), RecordError);
}

TEST(Settings, HoldsTheRestOfAFileWithNonsense) {
    struct Case {
        std::string text;
        std::string problems; ///< joined with "; "
    };
    for (const auto& [text, problems] : std::initializer_list<Case>{
             {"", ""},
             {" \n", ""},
             {"{", "settings: the file is no JSON object, so all defaults apply"},
             {"[]", "settings: the file is no JSON object, so all defaults apply"},
             {R"({"doneLinger":7,"alerts":"off"})", ""},
             {R"({"doneLinger":-1,"alerts":"off"})",
              "settings: doneLinger must be a number of seconds, 0 to 86400"},
             {R"({"doneLinger":"7","maxBubbles":1.5,"nonsense":1})",
              "settings: doneLinger must be a number of seconds, 0 to 86400; settings: maxBubbles must be a "
              "whole number, 0 to 100; settings: there is no setting nonsense"},
             {R"({"alerts":"off","approvals":true,"maxBubbles":101,"notifyAfter":1e999})",
              "settings: approvals must be on or off; settings: maxBubbles must be a whole number, 0 to 100; "
              "settings: notifyAfter must be a number of seconds, 0 to 3600"}}) {
        std::vector<std::string> found;
        const Settings settings = Settings::parse(text, found);
        std::string joined;
        for (const std::string& problem : found)
            joined += (joined.empty() ? "" : "; ") + problem;
        EXPECT_EQ(joined, problems) << text;
        EXPECT_EQ(settings.alerts, text.find("off") == text.npos) << text;
        EXPECT_EQ(settings.scheduler.doneLinger, text.find(":7,") == text.npos ? 4 : 7) << text;
    }
}

} // namespace quorvik
