#include "QuorvikCore/GitHub/Deployment.h"

#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik {

GitHubDeployment GitHubDeployment::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    GitHubDeployment deployment;
    reader.required("id", deployment.id);
    reader.optional("environment", deployment.environment);
    reader.optional("sha", deployment.sha);
    reader.required("created_at", deployment.createdAt);
    return deployment;
}

std::optional<Date> GitHubDeployment::created() const {
    return ISO8601::parse(createdAt);
}

GitHubDeploymentStatus GitHubDeploymentStatus::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    GitHubDeploymentStatus status;
    reader.required("state", status.state);
    reader.optional("environment", status.environment);
    reader.optional("description", status.description);
    reader.optional("log_url", status.logURL);
    reader.optional("environment_url", status.environmentURL);
    reader.optional("target_url", status.targetURL);
    reader.optional("created_at", status.createdAt);
    return status;
}

namespace DeploymentClassifier {

namespace {

constexpr std::size_t maxNote = 120; // characters
constexpr const char* unnamedEnvironment = "Deploy";

using Text = std::optional<std::string>;

std::optional<DeploymentState> stateOf(std::string_view state) {
    if (state == "queued" || state == "pending" || state == "in_progress") return DeploymentState::deploying;
    if (state == "success") return DeploymentState::succeeded;
    if (state == "failure" || state == "error") return DeploymentState::failed;
    return std::nullopt;
}

const Text& firstPresent(const Text& first, const Text& second, const Text& third) {
    if (first) return first;
    return second ? second : third;
}

} // namespace

std::optional<DeploymentEvent> classify(const GitHubDeployment& deployment,
                                        const GitHubDeploymentStatus& status) {
    const auto state = stateOf(status.state);
    if (!state) return std::nullopt;
    DeploymentEvent event{.state = *state, .note = oneLine(status.description)};
    event.environment = firstPresent(status.environment, deployment.environment, std::nullopt).value_or("");
    if (event.environment.empty()) event.environment = unnamedEnvironment;
    event.url = *state == DeploymentState::succeeded
                    ? firstPresent(status.environmentURL, status.targetURL, status.logURL)
                    : firstPresent(status.logURL, status.targetURL, status.environmentURL);
    if (event.url == "") event.url.reset();
    return event;
}

std::optional<std::string> oneLine(std::optional<std::string_view> text) {
    std::string_view line, rest = text.value_or("");
    while (line.empty() && !rest.empty())
        line = Unicode::takeLine(rest);
    line = Unicode::trimmed(line, Unicode::isWhitespace);
    if (line.empty()) return std::nullopt;
    const std::string_view kept = Unicode::firstCharacters(line, maxNote);
    return std::string(kept) + (kept.size() < line.size() ? "…" : "");
}

} // namespace DeploymentClassifier

} // namespace quorvik
