#include "Tests/Support/RunningApp.h"

#include "QuorvikApp/Model/GitHubFeed.h"

#include "QuorvikCore/Text/ISO8601.h"

#include <algorithm>
#include <csignal>
#include <functional>

namespace quorvik {

namespace {

using testing::eventually;

Date at(double seconds) {
    return dateFromSeconds(1'763'700'000 + seconds);
}

/// One of GitHub's notifications, last changed at(updated).
nlohmann::json news(int id, const char* reason, double updated, const char* type = "PullRequest") {
    const std::string place = type == std::string("Issue") ? "issues/" : "pulls/";
    return {{"id", std::to_string(id)},
            {"reason", reason},
            {"updated_at", ISO8601::text(at(updated))},
            {"subject",
             {{"title", "T\x1b"}, {"type", type}, {"url", "x/repos/o/r/" + place + std::to_string(id)}}},
            {"repository", {{"full_name", "o/r"}}}};
}

nlohmann::json deployment(int id, const char* environment, double created) {
    return {{"id", id}, {"environment", environment}, {"created_at", ISO8601::text(at(created))}};
}

std::string answer(const std::vector<nlohmann::json>& list, const std::string& headers = "") {
    return "HTTP/2.0 200 OK\nDate: x\r\n" + headers + "\r\n" + nlohmann::json(list).dump();
}

/// A feed whose looks are answered from a table.
class GitHubFeedTests : public ::testing::Test {
  protected:
    GitHubFeedTests() { feed.restart(at(0)); }

    /// What one look asks, a line each; `replies` by a part of the question, the others are not answered
    /// well.
    std::string look(double when) {
        std::string asked;
        feed.begin(repositories, SchedulerConfig(), at(when));
        while (const auto words = feed.next(at(when))) {
            std::string question;
            for (const std::string& word : *words)
                question += (question.empty() ? "" : " ") + word;
            std::string reply;
            for (const auto& [part, text] : replies)
                if (question.find(part) != question.npos) reply = text;
            feed.answered(GitHubReply::parse(reply), at(when));
            const std::string_view usual = "gh api --hostname github.com --include ";
            asked += (question.starts_with(usual) ? question.substr(usual.size()) : question) + "\n";
        }
        return asked;
    }

    std::string shown() const {
        std::string text;
        for (const auto& record : feed.records())
            text += *record->tool + ", " + *record->title + ", " + std::string(rawValue(record->state)) +
                    ": " + *record->summary + " @" + record->openURL.value_or("") + "\n";
        return text;
    }

    GitHubFeed feed;
    GitHubFeed::Repositories repositories;
    std::map<std::string, std::string> replies;
};

const std::string list = "notifications?per_page=50\n";
const std::string mention = "Issue, o/r#2, done: Mentioned: T  @https://github.com/o/r/issues/2\n";

} // namespace

TEST_F(GitHubFeedTests, ShowsWhatIsNewAndAsksForNoMoreThanThat) {
    const auto old = news(1, "mention", -60), second = news(2, "mention", 1, "Issue"),
               third = news(3, "author", 1);
    const std::string details = "gh pr view https://github.com/o/r/pull/3 --json state,reviewDecision\n";
    const std::string refused =
        "Pull request, o/r#3, failed: Changes requested: T  @https://github.com/o/r/pull/3\n";
    const struct {
        double when;
        std::string notifications, pullRequest, asked, shown;
    } looks[] = {
        {2, answer({old, second, 7, {{"id", "9"}}}, "Last-Modified: D\r\nX-Poll-Interval: 90\r\n"), "", list,
         mention},
        {62, "HTTP/2.0 304 Not Modified\nX-Poll-Interval: 9\r\n\r\n", "",
         "notifications?per_page=50 -H If-Modified-Since: D\n", mention},
        {70, answer({third, news(4, "subscribed", 2, "Release")}), "",
         "notifications?per_page=50 -H If-Modified-Since: D\n" + details, ""}, // the second one was read
        {80, answer({third, old}), R"({"state":"OPEN","reviewDecision":"CHANGES_REQUESTED"})", list + details,
         refused},
        {90, answer({third}), "", list, refused},
        {100, answer({news(3, "author", 99)}), R"({"state":"MERGED"})", list + details,
         "Pull request, o/r#3, done: Merged: T  @https://github.com/o/r/pull/3\n"},
        {191, answer({news(3, "author", 99)}), "", list, ""}, // it has lingered
        {200, answer({}), "", list, ""},
    };
    for (const auto& step : looks) {
        replies = {{"notifications", step.notifications}, {"pr view", step.pullRequest}};
        EXPECT_EQ(look(step.when), step.asked) << step.when;
        EXPECT_EQ(shown(), step.shown) << step.when;
        EXPECT_EQ(feed.trouble(), "");
        EXPECT_EQ(feed.pause(at(step.when)), step.when == 2 ? 90 : 60);
    }
    replies["notifications"] = answer({second, news(5, "assign", 250)});
    feed.restart(at(240));
    look(250);
    EXPECT_EQ(shown(), "Pull request, o/r#5, done: Assigned: T  @https://github.com/o/r/pull/5\n");
}

TEST_F(GitHubFeedTests, KeepsToItsBudget) {
    std::vector<nlohmann::json> many;
    for (int id = 100; id < 150; ++id)
        many.push_back(news(id, "author", 1));
    replies["notifications"] = answer(many);
    const auto details = [&](double when) {
        const std::string asked = look(when);
        return std::ranges::count(asked, '\n') - 1;
    };
    for (int minute = 0; minute < 60; ++minute) // each is asked for three times, and never answered
        EXPECT_EQ(details(60 * minute), minute < 6 ? 10 : 0) << minute;
    EXPECT_EQ(details(3600), 10);
    EXPECT_EQ(details(-3600), 10) << "the clock was set back";
    replies["pr view"] = R"({"state":"CLOSED"})";
    EXPECT_EQ(details(8000), 10);
    EXPECT_EQ(feed.records().size(), 10u);
}

TEST_F(GitHubFeedTests, HeedsWhatGitHubRefuses) {
    const struct {
        const char* reply;
        const char* trouble;
        double pause;
    } cases[] = {
        {"HTTP/2.0 429 Too Many Requests\nRetry-After: 300\r\n\r\n{}", "GitHub answered with status 429",
         300},
        {"HTTP/2.0 403 Forbidden\nX-Ratelimit-Remaining: 0\nX-Ratelimit-Reset: 1763700900\n",
         "GitHub answered with status 403", 900},
        {"HTTP/2.0 403 Forbidden\nX-Ratelimit-Remaining: 1\nX-Ratelimit-Reset: 1763700900\n",
         "GitHub answered with status 403", 60},
        {"HTTP/2.0 502 Bad Gateway\nRetry-After: 99999999999\n", "GitHub answered with status 502", 21600},
        {"HTTP/2.0 401 Unauthorized\nX-Poll-Interval: 99999999\n", "GitHub answered with status 401", 3600},
        {"HTTP/2.0 200 OK\n\r\n{\"a\":1}", "GitHub's answer is no list of notifications", 60},
        {"", "gh got no answer from GitHub (see `gh auth status`)", 60},
    };
    repositories = {{"o/r", "/r"}};
    for (const auto& [reply, trouble, pause] : cases) {
        feed = {};
        feed.restart(at(0));
        replies["notifications"] = reply;
        EXPECT_EQ(look(0), list) << "nothing else is asked: " << reply;
        EXPECT_EQ(feed.trouble(), trouble);
        EXPECT_EQ(feed.pause(at(0)), pause) << reply;
        if (pause <= 60 || pause == 3600) continue;
        feed.restart(at(1)); // switched off and on
        EXPECT_EQ(look(pause - 1), "") << reply;
        EXPECT_EQ(feed.trouble(), trouble);
        EXPECT_EQ(look(pause), list) << reply;
    }
    // A repository that the user may not see is asked for again an hour later; a limit ends the look.
    feed = {};
    feed.restart(at(0));
    replies = {{"notifications", answer({})}, {"deployments", "HTTP/2.0 404 Not Found\n"}};
    const std::string deployments = "repos/o/r/deployments?per_page=10\n";
    EXPECT_EQ(look(0), list + deployments);
    EXPECT_EQ(look(3599), list);
    replies["deployments"] = "HTTP/2.0 403 Forbidden\nRetry-After: 60\n";
    repositories["o/z"] = "/z";
    EXPECT_EQ(look(3600), list + "repos/o/z/deployments?per_page=10\n");
    EXPECT_EQ(feed.trouble(), "GitHub answered with status 403");
}

TEST_F(GitHubFeedTests, FollowsDeployments) {
    const auto status = [](const char* state, double created, const char* url) {
        return answer({{{"state", state},
                        {"log_url", url},
                        {"description", "a\nb"},
                        {"created_at", ISO8601::text(at(created))}}});
    };
    const std::string old = "/1/", live = "/2/", newer = "/3/";
    const std::string listed = "repos/o/r/deployments?per_page=10\n";
    const auto asked = [](const std::string& id) {
        return "repos/o/r/deployments" + id + "statuses?per_page=1\n";
    };
    const struct {
        double when;
        std::map<std::string, std::string> replies;
        std::string asked, shown;
    } looks[] = {
        {0,
         {{"deployments?", answer({deployment(2, "live", -9), deployment(9, "live", -10),
                                   deployment(1, "test", -600), deployment(0, "x", -9999)})},
          {old, status("failure", -500, "")},
          {live, status("queued", -8, "https://log")}},
         listed + asked(live) + asked(old),
         "Deployment, o/r, working: live deploying: a @https://log\n"},
        {60, {{live, ""}}, asked(live), "Deployment, o/r, working: live deploying: a @https://log\n"},
        {120,
         {{live, status("error", 100, "/etc/passwd")}},
         asked(live),
         "Deployment, o/r, failed: live failed: a @\n"},
        {180, {}, "", "Deployment, o/r, failed: live failed: a @\n"},
        {300,
         {{"deployments?", answer({deployment(3, "live", 200), deployment(2, "live", -9)})},
          {newer, status("success", 250, "http://site")}},
         listed + asked(newer),
         "Deployment, o/r, done: live succeeded: a @http://site\n"},
        {390, {}, "", ""}, // it has lingered
        {600, {{"deployments?", answer({})}}, listed, ""},
    };
    repositories = {{"o/r", "/r"}};
    for (const auto& step : looks) {
        replies = step.replies;
        replies["notifications"] = "HTTP/2.0 304 Not Modified\n";
        EXPECT_EQ(look(step.when), list + step.asked) << step.when;
        EXPECT_EQ(shown(), step.shown) << step.when;
    }
    // What is under way for hours, and what no session lives in any more, is forgotten.
    replies = {{"notifications", "HTTP/2.0 304 Not Modified\n"},
               {"deployments?", answer({deployment(2, "live", 900)})},
               {live, status("pending", 900, "")}};
    look(900);
    EXPECT_EQ(feed.records().at(0)->cwd, "/r");
    replies["deployments?"] = "";
    look(900 + 7201);
    EXPECT_EQ(shown(), "");
    replies["deployments?"] = answer({deployment(2, "live", 900)});
    look(9000);
    repositories.clear();
    EXPECT_EQ(look(9060), list);
    EXPECT_EQ(shown(), "");
}

/// The real app, with a stand-in for gh.
class GitHubSignalTests : public testing::AppTest {};

TEST_F(GitHubSignalTests, AsksThroughTheUsersOwnProgramOnceSwitchedOn) {
    const Date now = std::chrono::system_clock::now();
    const double since = (now - at(0)).count();
    write("bin/notifications", answer({news(7, "author", since + 3600)}));
    write("bin/pr", R"({"state":"OPEN","reviewDecision":"APPROVED"})");
    write("bin/deployments", answer({deployment(5, "live", since)}));
    write("bin/statuses", answer({{{"state", "in_progress"}}}));
    writeProgram("bin/gh", "#!/bin/sh\ncd \"${0%/*}\" && echo \"$GH_FORCE_TTY$*\" >>asked\ncase $* in\n"
                           "*statuses*) cat statuses ;;\n*deployments*) cat deployments ;;\npr*) cat pr ;;\n"
                           "*) cat notifications ;;\nesac\nexit 1\n");
    ::setenv("GH_FORCE_TTY", "1", 1);
    write("app/.git/HEAD", "ref: refs/heads/main\n");
    write("app/.git/config", "[remote \"origin\"]\n\turl = git@github.com:o/app.git\n");
    SessionRecord session(Source::claude, "s", (home / "app").string(), now);
    session.state = SessionState::working;
    write("support/sessions/claude-s.json", printJSON(session.toJSON()));
    startApp();
    ::unsetenv("GH_FORCE_TTY");
    control().subscribe();
    synced();
    EXPECT_EQ(signal("github").why, "switched off");
    EXPECT_FALSE(std::filesystem::exists(home / "bin/asked"));

    testing::AppTest::island({"settings", "github", "on"});
    const auto shown = [&] {
        std::map<std::string, std::string> items;
        const Snapshot snapshot = synced();
        for (const SnapshotItem* item : snapshot.items())
            items[item->id()] = item->record->summary.value_or("");
        return items;
    };
    EXPECT_TRUE(eventually([&] { return signal("github").looks == 1; }));
    auto items = shown();
    EXPECT_EQ(items["git-github-7"], "Approved: T ");
    EXPECT_EQ(items["git-deployment-o/app-live"], "live deploying");
    EXPECT_EQ(testing::contentOf(home / "bin/asked"),
              "api --hostname github.com --include notifications?per_page=50\n"
              "pr view https://github.com/o/r/pull/7 --json state,reviewDecision\n"
              "api --hostname github.com --include repos/o/app/deployments?per_page=10\n"
              "api --hostname github.com --include repos/o/app/deployments/5/statuses?per_page=1\n");
    EXPECT_EQ(signal("github").why, "");
    EXPECT_GT(signal("github").nextLook, now + std::chrono::seconds(50));

    for (const auto& [program, why] : std::initializer_list<std::pair<const char*, const char*>>{
             {"exit 4", "gh got no answer from GitHub (see `gh auth status`)"},
             {"exit 5", "gh ended with status 5"},
             {"exec yes", "it writes too much"},
             {"echo HTTP/2.0 200 OK; echo; head -c 9000000 /dev/zero | tr '\\0' '['",
              "GitHub's answer is no list of notifications"}}) {
        writeProgram("bin/gh", std::string("#!/bin/sh\n") + program + "\n");
        const auto before = signal("github").looks;
        testing::AppTest::island({"settings", "github", "off"});
        EXPECT_FALSE(shown().contains("git-github-7"));
        testing::AppTest::island({"settings", "github", "on"});
        EXPECT_TRUE(eventually([&] { return signal("github").looks > before; }));
        EXPECT_EQ(signal("github").why, why) << program;
    }
    ::kill(app().pid(), SIGTERM);
    expectAppEnds();
}

} // namespace quorvik
