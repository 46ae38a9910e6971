#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// One element of a repository's deployments (GET /repos/…/deployments), as far as it is used.
struct GitHubDeployment {
    std::int64_t id = 0;
    std::optional<std::string> environment; ///< "production"…
    std::optional<std::string> sha;         ///< the commit deployed
    std::string createdAt;                  ///< as it came

    /// Strict, under GitHub's own keys: throws RecordError.
    static GitHubDeployment fromJSON(const nlohmann::json& value);

    /// `createdAt` as a date; absent when it is none (ISO8601::parse).
    std::optional<Date> created() const;

    bool operator==(const GitHubDeployment&) const = default;
};

/// One status of a deployment (GET /repos/…/deployments/…/statuses).
struct GitHubDeploymentStatus {
    std::string state; ///< "queued", "success", "inactive"…
    std::optional<std::string> environment;
    std::optional<std::string> description;
    std::optional<std::string> logURL;
    std::optional<std::string> environmentURL; ///< what was deployed
    std::optional<std::string> targetURL;      ///< GitHub's older name for the log's
    std::optional<std::string> createdAt;

    /// Strict, under GitHub's own keys ("log_url"…): throws RecordError. Only the state is required.
    static GitHubDeploymentStatus fromJSON(const nlohmann::json& value);
    bool operator==(const GitHubDeploymentStatus&) const = default;
};

enum class DeploymentState { deploying, succeeded, failed };

template <>
inline constexpr std::array<std::string_view, 3> rawValues<DeploymentState> = {"deploying", "succeeded",
                                                                               "failed"};

/// What a deployment's newest status says to the user.
struct DeploymentEvent {
    DeploymentState state = DeploymentState::deploying;
    std::string environment;         ///< never empty: "Deploy" when nothing names it
    std::optional<std::string> note; ///< oneLine() of the description
    std::optional<std::string> url;  ///< the deployed site once it has succeeded, else the log, if any

    bool operator==(const DeploymentEvent&) const = default;
};

namespace DeploymentClassifier {

/// Absent for states that are not shown ("inactive"…). A field that is present but empty counts as given: no
/// other field takes its place.
std::optional<DeploymentEvent> classify(const GitHubDeployment& deployment,
                                        const GitHubDeploymentStatus& status);

/// The first line that is not empty, trimmed, of at most 120 characters and then "…". Absent when that is
/// nothing but white space, and for an absent text.
std::optional<std::string> oneLine(std::optional<std::string_view> text);

} // namespace DeploymentClassifier

} // namespace quorvik
