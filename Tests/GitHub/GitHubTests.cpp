#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/GitHub/Deployment.h"
#include "QuorvikCore/GitHub/GitHubReply.h"
#include "QuorvikCore/GitHub/GitHubRepository.h"
#include "QuorvikCore/GitHub/PullRequest.h"

#include <sstream>

namespace quorvik {

namespace {

/// A record as GitHub's documentation shows it, every member included.
nlohmann::json example(const char* name) {
    const auto folder = std::filesystem::path(QUORVIK_SOURCE_DIR) / "Tests/GitHub/examples";
    return *parseJSON(testing::contentOf(folder / (std::string(name) + ".json")));
}

GitHubNotification notification(std::string type, std::string reason, std::optional<std::string> url) {
    return {"1", std::move(reason), "", {"Greetings", std::move(type), std::move(url)}, {"o/r"}};
}

} // namespace

TEST(GitHub, DecodesWhatItsDocumentationShows) {
    const auto note = GitHubNotification::fromJSON(example("notification"));
    EXPECT_EQ(note.updated(), dateFromSeconds(1415397705));
    EXPECT_EQ(note.htmlURL(), "https://github.com/octokit/octokit.rb/issues/123");
    const std::string issue = "https://api.github.com/repos/octokit/octokit.rb/issues/123";
    const GitHubNotification expected{
        "1", "subscribed", "2014-11-07T22:01:45Z", {"Greetings", "Issue", issue}, {"octocat/Hello-World"}};
    EXPECT_EQ(note, expected);
    EXPECT_EQ(PullRequestInfo::fromJSON(example("pull-request")), (PullRequestInfo{"OPEN", "APPROVED"}));
    const auto deployment = GitHubDeployment::fromJSON(example("deployment"));
    EXPECT_EQ(deployment.created(), dateFromSeconds(1342747153));
    EXPECT_EQ(deployment, (GitHubDeployment{1, "production", "a84d88e7554fc1fa21bcbc4efae3c782a70d2b9d",
                                            "2012-07-20T01:19:13Z"}));
    const std::string output = "https://example.com/deployment/42/output";
    EXPECT_EQ(GitHubDeploymentStatus::fromJSON(example("deployment-status")),
              (GitHubDeploymentStatus{"success", "production", "Deployment finished successfully.", output,
                                      "https://test-branch.lab.acme.com", output, "2012-07-20T01:19:13Z"}));
}

TEST(GitHub, NeedsNoMoreThanItMust) {
    nlohmann::json note = example("notification");
    note["subject"]["url"] = nullptr; // as of discussions
    EXPECT_EQ(GitHubNotification::fromJSON(note).subject.url, std::nullopt);
    note["subject"].erase("type");
    EXPECT_THROW(GitHubNotification::fromJSON(note), RecordError);
    EXPECT_EQ(PullRequestInfo::fromJSON({{"state", "OPEN"}}), PullRequestInfo{"OPEN"});
    EXPECT_EQ(GitHubDeployment::fromJSON({{"id", 1}, {"created_at", ""}}), GitHubDeployment{1});
    EXPECT_EQ(GitHubDeploymentStatus::fromJSON({{"state", "error"}}), GitHubDeploymentStatus{"error"});
}

TEST(GitHub, FindsTheWebPageOfASubject) {
    using Page = std::pair<std::optional<std::string>, std::optional<std::int64_t>>;
    for (const auto& [url, page] : std::initializer_list<std::pair<std::string, Page>>{
             {"https://api.github.com/repos/o/r/pulls/42", {"https://w/o/r/pull/42", 42}},
             {"https://ghe/api/v3/repos//o/r/issues//7/x/", {"https://w/o/r/issues/7", 7}},
             {"/repos/repos/repos/releases/x", {"https://w/repos/repos/releases/x", std::nullopt}},
             {"/repos/o/r/pulls/", {}},
             {"/notifications/threads/1/2/3", {}}}) {
        const auto subject = notification("PullRequest", "", url);
        EXPECT_EQ(Page(subject.htmlURL("https://w/"), subject.number()), page) << url;
    }
}

TEST(GitHub, TakesApartWhatGHPrints) {
    const auto text = [](const std::string& output) {
        const auto reply = GitHubReply::parse(output);
        std::string parts = std::to_string(reply.status);
        for (const auto& [name, value] : reply.headers)
            parts += " " + name + "=" + value;
        return parts + (reply.body ? " " + reply.body->dump() : "") + (reply.list() ? " list" : "");
    };
    for (const auto& [output, parts] : std::initializer_list<std::pair<std::string, std::string>>{
             {"HTTP/2.0 200 OK\nETag: W/\"a:b\"\r\nx-Poll-Interval:60 \nno header\r\n\r\n[1]",
              "200 etag=W/\"a:b\" x-poll-interval=60 [1] list"},
             {"HTTP/1.1 304 Not Modified\r\n\r\n", "304"},
             {"HTTP/1.1 404\nA: 1\nA: 2", "404 a=1"},
             {"HTTP/2.0 403 Forbidden\n\n[", "403"},
             {"{\"a\":1}\n", "0 {\"a\":1}"},
             {"HTTP/2.0 2000 OK\n\n[]", "0"},
             {"[]", "0 []"},
             {"HTTP/2.0 200 OK\n\n[" + std::string(3 << 20, ' ') + "]", "200"},
             {"", "0"}})
        EXPECT_EQ(text(output), parts) << output.substr(0, 99);
    const auto reply = GitHubReply::parse("HTTP/2.0 200 OK\nA: 60\nB: -1\nC: 1 day\n");
    EXPECT_EQ(reply.number("a"), 60);
    for (const char* header : {"b", "c", "d"})
        EXPECT_EQ(reply.number(header), std::nullopt) << header;
}

TEST(GitHub, NamesTheRepositoryOfARemote) {
    for (const char* remote :
         {"git@github.com:o/n.r.git", "https://github.com/o/n.r", "https://user:x@GitHub.com/o/n.r.git/",
          "ssh://git@ssh.github.com:443/o/n.r.git", "git://github.com/o/n.r/", "github.com:/o/n.r"})
        EXPECT_EQ(GitHubRepository::nameOf(remote), "o/n.r") << remote;
    for (const char* remote :
         {"", "/srv/github.com/o/r", "git@gitlab.com:o/r", "https://github.com.evil.org/o/r", "github.com:o",
          "https://evil.org/github.com:o/r", "https://github.com/o/r/s", "github.com:../r", "github.com:o/..",
          "github.com:o/r?x", "github.com:o/\nr", "github.com:/", "https://evil.org:80@x/o/r"})
        EXPECT_EQ(GitHubRepository::nameOf(remote), std::nullopt) << remote;
}

TEST(PullRequestClassifier, PicksWhatIsWorthShowing) {
    for (const std::string given :
         {"PullRequest review_requested -> reviewRequested", "Issue review_requested -> ",
          "Issue mention -> mentioned", "PullRequest team_mention -> mentioned", "Discussion mention -> ",
          "PullRequest assign -> assigned", "Issue assign -> assigned", "Release assign -> ",
          "Issue author -> ", "PullRequest author ? -> ", "PullRequest author MERGED APPROVED -> merged",
          "PullRequest subscribed MERGED -> merged", "PullRequest ci_activity CLOSED -> closed",
          "PullRequest author OPEN CHANGES_REQUESTED -> changesRequested",
          "PullRequest author OPEN APPROVED -> approved", "PullRequest author closed -> activity",
          "PullRequest comment OPEN APPROVED -> activity", "PullRequest subscribed OPEN APPROVED -> "}) {
        const auto arrow = given.find("-> ");
        std::istringstream words(given.substr(0, arrow));
        std::string type, reason, state, decision;
        words >> type >> reason >> state >> decision;
        auto subject = notification(type, reason, "/repos/o/r/pulls/42");
        const PullRequestInfo info{state, decision};
        EXPECT_EQ(PullRequestClassifier::needsInfo(subject), state != "") << given;
        const auto event = PullRequestClassifier::classify(
            subject, state.size() > 1 ? std::optional(info) : std::nullopt, "https://w/");
        ASSERT_EQ(event ? rawValue(event->kind) : "", given.substr(arrow + 3));
        if (!event) continue;
        EXPECT_EQ(*event, (PullRequestEvent{event->kind, "Greetings", "o/r", 42, "https://w/o/r/pull/42"}));
        subject.subject.url.reset();
        EXPECT_EQ(PullRequestClassifier::classify(subject, info)->url, std::nullopt);
    }
}

TEST(DeploymentClassifier, TellsWhatADeploymentHasComeTo) {
    using enum DeploymentState;
    using Text = std::optional<std::string>;
    using Case = std::tuple<std::string, Text, Text, Text, Text, std::optional<DeploymentEvent>>;
    const std::nullopt_t none = std::nullopt;
    for (const auto& [state, environment, log, site, target, event] : std::initializer_list<Case>{
             {"in_progress", none, "log", "site", "target", {{deploying, "staging", none, "log"}}},
             {"queued", "", none, "site", none, {{deploying, "Deploy", none, "site"}}}, // "" is an answer
             {"pending", "live", none, "site", "target", {{deploying, "live", none, "target"}}},
             {"success", none, "log", "site", "target", {{succeeded, "staging", none, "site"}}},
             {"success", none, "log", "", "target", {{succeeded, "staging", none, none}}},
             {"failure", none, none, none, none, {{failed, "staging", none, none}}},
             {"error", none, "", "site", none, {{failed, "staging", none, none}}},
             {"inactive", none, "log", none, none, none}}) {
        const GitHubDeploymentStatus status{state, environment, none, log, site, target, none};
        EXPECT_EQ(DeploymentClassifier::classify({1, "staging", none, ""}, status), event) << state;
    }
    const DeploymentEvent bare{failed, "Deploy", "x", none};
    EXPECT_EQ(DeploymentClassifier::classify({1, none, none, ""}, {"error", none, " x \ny"}), bare);
}

TEST(DeploymentClassifier, NotesAreOneShortLine) {
    std::string accented; // 120 characters of two scalars each
    while (accented.size() < 360)
        accented += "e\u0301";
    using DeploymentClassifier::oneLine;
    for (const char* text : {"", "\r\n\u2028", " \u00A0\t\nthe first is blank, not empty"})
        EXPECT_EQ(oneLine(text), std::nullopt) << text;
    EXPECT_EQ(oneLine(std::nullopt), std::nullopt);
    EXPECT_EQ(oneLine("\n\t a \u2029b"), "a");
    EXPECT_EQ(oneLine(accented + "\nx"), accented);
    EXPECT_EQ(oneLine(" " + accented + "🇩🇪 "), accented + "…");
}

} // namespace quorvik
