#include "QuorvikCore/GitHub/Deployment.h"
#include "QuorvikCore/GitHub/PullRequest.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

// As GitHub's documentation of its REST API shows them.
constexpr const char* notificationExample = R"({
  "id": "1",
  "repository": {
    "id": 1296269, "node_id": "MDEwOlJlcG9zaXRvcnkxMjk2MjY5", "name": "Hello-World", "full_name": "octocat/Hello-World",
    "owner": {"login": "octocat", "id": 1, "gravatar_id": "", "type": "User", "site_admin": false},
    "private": false, "html_url": "https://github.com/octocat/Hello-World", "description": "This your first repo!",
    "fork": false, "url": "https://api.github.com/repos/octocat/Hello-World", "permissions": {"admin": false}
  },
  "subject": {
    "title": "Greetings",
    "url": "https://api.github.com/repos/octokit/octokit.rb/issues/123",
    "latest_comment_url": "https://api.github.com/repos/octokit/octokit.rb/issues/comments/123",
    "type": "Issue"
  },
  "reason": "subscribed",
  "unread": true,
  "updated_at": "2014-11-07T22:01:45Z",
  "last_read_at": "2014-11-07T22:01:45Z",
  "url": "https://api.github.com/notifications/threads/1",
  "subscription_url": "https://api.github.com/notifications/threads/1/subscription"
})";
constexpr const char* infoExample = R"({"state": "OPEN", "reviewDecision": "APPROVED", "isDraft": false})";
constexpr const char* deploymentExample = R"({
  "url": "https://api.github.com/repos/octocat/example/deployments/1",
  "id": 1, "node_id": "MDEwOkRlcGxveW1lbnQx", "sha": "a84d88e7554fc1fa21bcbc4efae3c782a70d2b9d",
  "ref": "topic-branch", "task": "deploy", "payload": {}, "original_environment": "staging",
  "environment": "production", "description": "Deploy request from hubot",
  "creator": {"login": "octocat", "id": 1, "type": "User", "site_admin": false},
  "created_at": "2012-07-20T01:19:13Z", "updated_at": "2012-07-20T01:19:13Z",
  "statuses_url": "https://api.github.com/repos/octocat/example/deployments/1/statuses",
  "transient_environment": false, "production_environment": true
})";
constexpr const char* statusExample = R"({
  "url": "https://api.github.com/repos/octocat/example/deployments/42/statuses/1",
  "id": 1, "node_id": "MDE2OkRlcGxveW1lbnRTdGF0dXMx", "state": "success",
  "creator": {"login": "octocat", "id": 1, "type": "User", "site_admin": false},
  "description": "Deployment finished successfully.", "environment": "production",
  "target_url": "https://example.com/deployment/42/output",
  "created_at": "2012-07-20T01:19:13Z", "updated_at": "2012-07-20T01:19:13Z",
  "environment_url": "https://test-branch.lab.acme.com", "log_url": "https://example.com/deployment/42/output"
})";

/// The example decoded, with one change (a merge patch); the error's message when that fails.
template <typename T>
std::string decodingError(const char* example, nlohmann::json patch) {
    nlohmann::json value = *parseJSON(example);
    for (const auto& [key, member] : patch.items())
        value[nlohmann::json::json_pointer(key)] = member;
    try {
        T::fromJSON(value);
        return "";
    } catch (const RecordError& error) {
        return error.what();
    }
}

GitHubNotification notification(std::string type, std::string reason, std::optional<std::string> url) {
    return {"1", std::move(reason), "", {"Greetings", std::move(type), std::move(url)}, {"o/r"}};
}

} // namespace

TEST(GitHub, DecodesWhatItsDocumentationShows) {
    const auto note = GitHubNotification::fromJSON(*parseJSON(notificationExample));
    EXPECT_EQ(note, (GitHubNotification{
                        "1",
                        "subscribed",
                        "2014-11-07T22:01:45Z",
                        {"Greetings", "Issue", "https://api.github.com/repos/octokit/octokit.rb/issues/123"},
                        {"octocat/Hello-World"}}));
    EXPECT_EQ(note.updated(), dateFromSeconds(1415397705));
    EXPECT_EQ(note.htmlURL(), "https://github.com/octokit/octokit.rb/issues/123");
    EXPECT_EQ(PullRequestInfo::fromJSON(*parseJSON(infoExample)), (PullRequestInfo{"OPEN", "APPROVED"}));
    const auto deployment = GitHubDeployment::fromJSON(*parseJSON(deploymentExample));
    EXPECT_EQ(deployment, (GitHubDeployment{1, "production", "a84d88e7554fc1fa21bcbc4efae3c782a70d2b9d",
                                            "2012-07-20T01:19:13Z"}));
    EXPECT_EQ(deployment.created(), dateFromSeconds(1342747153));
    const std::string output = "https://example.com/deployment/42/output";
    EXPECT_EQ(GitHubDeploymentStatus::fromJSON(*parseJSON(statusExample)),
              (GitHubDeploymentStatus{"success", "production", "Deployment finished successfully.", output,
                                      "https://test-branch.lab.acme.com", output, "2012-07-20T01:19:13Z"}));
}

TEST(GitHub, DecodesStrictly) {
    const auto expectErrors = [](auto decode, const char* example,
                                 std::initializer_list<std::pair<nlohmann::json, const char*>> changes) {
        for (const auto& [change, error] : changes)
            EXPECT_EQ(decode(example, change), error) << change;
    };
    expectErrors(decodingError<GitHubNotification>, notificationExample,
                 {{{{"/subject/url", nullptr}}, ""}, // as of discussions
                  {{{"/subject/url", 1}}, "url has the wrong type"},
                  {{{"/subject/title", nullptr}}, "title is missing"},
                  {{{"/subject", "x"}}, "not an object"},
                  {{{"/subject", nullptr}}, "subject is missing"},
                  {{{"/repository/full_name", 1}}, "full_name has the wrong type"},
                  {{{"/id", 1}}, "id has the wrong type"},
                  {{{"/updated_at", "yesterday"}}, ""},
                  {{{"/updated_at", 1}}, "updated_at has the wrong type"}});
    expectErrors(decodingError<PullRequestInfo>, infoExample,
                 {{{{"/reviewDecision", nullptr}}, ""},
                  {{{"/reviewDecision", true}}, "reviewDecision has the wrong type"},
                  {{{"/state", nullptr}}, "state is missing"}});
    expectErrors(decodingError<GitHubDeployment>, deploymentExample,
                 {{{{"/environment", nullptr}, {"/sha", nullptr}}, ""},
                  {{{"/id", "1"}}, "id has the wrong type"},
                  {{{"/id", 1.5}}, "id has the wrong type"},
                  {{{"/created_at", nullptr}}, "created_at is missing"}});
    expectErrors(decodingError<GitHubDeploymentStatus>, statusExample,
                 {{{{"/log_url", nullptr}, {"/created_at", nullptr}, {"/description", nullptr}}, ""},
                  {{{"/environment_url", 0}}, "environment_url has the wrong type"},
                  {{{"/state", nullptr}}, "state is missing"}});
}

TEST(GitHub, FindsTheWebPageOfASubject) {
    struct Case {
        std::optional<std::string> url, page;
        std::optional<std::int64_t> number;
    };
    const std::string api = "https://api.github.com";
    for (const auto& [url, page, number] : std::initializer_list<Case>{
             {api + "/repos/o/r/pulls/42", "https://w/o/r/pull/42", 42},
             {api + "/repos/o/r/issues/7", "https://w/o/r/issues/7", 7},
             {"https://ghe/api/v3/repos//o/r/pulls//42/files/", "https://w/o/r/pull/42", 42},
             {api + "/repos/repos/repos/releases/x", "https://w/repos/repos/releases/x", std::nullopt},
             {api + "/repos/o/r/pulls/42?page=1", "https://w/o/r/pull/42?page=1", std::nullopt},
             {api + "/repos/o/r/pulls/", std::nullopt, std::nullopt},
             {api + "/notifications/threads/1", std::nullopt, std::nullopt},
             {"", std::nullopt, std::nullopt},
             {std::nullopt, std::nullopt, std::nullopt},
         }) {
        const auto subject = notification("PullRequest", "", url);
        EXPECT_EQ(subject.htmlURL("https://w/"), page) << url.value_or("-");
        EXPECT_EQ(subject.number(), number) << url.value_or("-");
    }
}

TEST(PullRequestClassifier, PicksWhatIsWorthShowing) {
    using enum PullRequestEventKind;
    const std::string pull = "PullRequest", issue = "Issue";
    const auto info = [](std::string state, std::optional<std::string> decision = std::nullopt) {
        return PullRequestInfo{std::move(state), std::move(decision)};
    };
    struct Case {
        std::string type, reason;
        std::optional<PullRequestInfo> info;
        std::optional<PullRequestEventKind> kind;
        bool needsInfo = false;
    };
    const std::optional<PullRequestEventKind> none;
    for (const auto& [type, reason, state, kind, needsInfo] : std::initializer_list<Case>{
             {pull, "review_requested", {}, reviewRequested},
             {pull, "review_requested", info("MERGED"), reviewRequested},
             {issue, "review_requested", info("OPEN"), none},
             {pull, "mention", {}, mentioned},
             {issue, "team_mention", {}, mentioned},
             {"Discussion", "mention", info("OPEN"), none},
             {pull, "assign", info("CLOSED"), assigned},
             {issue, "assign", {}, assigned},
             {"Release", "assign", {}, none},
             {pull, "author", {}, none, true},
             {pull, "author", info("MERGED", "APPROVED"), merged, true},
             {pull, "subscribed", info("MERGED"), merged, true},
             {pull, "ci_activity", info("CLOSED"), closed, true},
             {pull, "author", info("OPEN", "CHANGES_REQUESTED"), changesRequested, true},
             {pull, "author", info("OPEN", "APPROVED"), approved, true},
             {pull, "author", info("OPEN", "REVIEW_REQUIRED"), activity, true},
             {pull, "author", info("merged"), activity, true},
             {pull, "comment", info("OPEN", "APPROVED"), activity, true},
             {pull, "subscribed", info("OPEN", "APPROVED"), none, true},
             {pull, "Mention", info("OPEN"), none, true},
             {issue, "author", info("CLOSED"), none},
             {"pullrequest", "author", info("CLOSED"), none},
         }) {
        const auto subject = notification(type, reason, "/repos/o/r/pulls/42");
        const auto event = PullRequestClassifier::classify(subject, state, "https://w/");
        EXPECT_EQ(event ? std::optional(event->kind) : none, kind) << type << " " << reason;
        EXPECT_EQ(PullRequestClassifier::needsInfo(subject), needsInfo) << type << " " << reason;
        if (!event) continue;
        EXPECT_EQ(*event, (PullRequestEvent{*kind, "Greetings", "o/r", 42, "https://w/o/r/pull/42"}));
    }
    EXPECT_EQ(PullRequestClassifier::classify(notification(issue, "mention", std::nullopt), {}),
              (PullRequestEvent{mentioned, "Greetings", "o/r", std::nullopt, std::nullopt}));
}

TEST(DeploymentClassifier, TellsWhatADeploymentHasComeTo) {
    using enum DeploymentState;
    using Status = GitHubDeploymentStatus;
    const auto links = [](Status status) {
        status.logURL = "log", status.targetURL = "target", status.environmentURL = "site";
        return status;
    };
    const std::optional<std::string> none;
    struct Case {
        Status status;
        std::optional<DeploymentEvent> event;
        std::optional<std::string> environment = "staging"; ///< the deployment's
    };
    for (const auto& [status, event, environment] : std::initializer_list<Case>{
             {links({"in_progress"}), {{deploying, "staging", none, "log"}}},
             {links({"success"}), {{succeeded, "staging", none, "site"}}},
             {links({"failure"}), {{failed, "staging", none, "log"}}},
             {{"queued", "", "\n Queued \nx"}, {{deploying, "Deploy", "Queued", none}}}, // "" is an answer
             {{"pending", "production"}, {{deploying, "production", none, none}}},
             {{"error"}, {{failed, "Deploy", none, none}}, none},
             {{"error"}, {{failed, "Deploy", none, none}}, ""},
             {{.state = "success", .logURL = "log"}, {{succeeded, "staging", none, "log"}}},
             {{.state = "success", .logURL = "log", .targetURL = "t"}, {{succeeded, "staging", none, "t"}}},
             {{.state = "success", .logURL = "log", .environmentURL = ""},
              {{succeeded, "staging", none, none}}},
             {{.state = "error", .environmentURL = "site"}, {{failed, "staging", none, "site"}}},
             {links({"inactive"}), std::nullopt},
             {links({"Success"}), std::nullopt},
         })
        EXPECT_EQ(DeploymentClassifier::classify({1, environment, none, ""}, status), event) << status.state;
}

TEST(DeploymentClassifier, NotesAreOneShortLine) {
    std::string e, flags; // characters of several scalars
    for (int i = 0; i < 120; ++i)
        e += "e\u0301", flags += "🇩🇪";
    struct Case {
        std::optional<std::string> text, note;
    };
    for (const auto& [text, note] : std::initializer_list<Case>{
             {std::nullopt, std::nullopt},
             {"", std::nullopt},
             {"\r\n\u2028", std::nullopt},
             {" \u00A0\t\nsecond", std::nullopt}, // the first line is blank, not empty
             {"\n\r\n\t first \u2029second", "first"},
             {e, e},
             {" " + e + "e \nx", e + "…"},
             {flags + "🇩🇪", flags + "…"},
             {e.substr(0, 300) + "\n" + e, e.substr(0, 300)},
         })
        EXPECT_EQ(DeploymentClassifier::oneLine(text), note) << text.value_or("-");
}

} // namespace quorvik
