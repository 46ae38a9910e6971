#include "QuorvikCore/GitHub/GitHubNotification.h"

#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Text/Number.h"

#include <array>

namespace quorvik {

namespace {

/// A pull request or issue, as its address in the API names it.
struct Place {
    std::array<std::string_view, 4> pieces; ///< owner, repository, collection, number

    static std::optional<Place> of(std::string_view url) {
        constexpr std::string_view mark = "/repos/";
        const auto start = url.find(mark);
        if (start == url.npos) return std::nullopt;
        url.remove_prefix(start + mark.size());
        Place place;
        std::size_t count = 0;
        while (!url.empty() && count < place.pieces.size()) {
            const std::string_view piece = url.substr(0, url.find('/'));
            if (!piece.empty()) place.pieces[count++] = piece;
            url.remove_prefix(std::min(piece.size() + 1, url.size()));
        }
        if (count < place.pieces.size()) return std::nullopt;
        return place;
    }
};

} // namespace

GitHubNotification::Subject GitHubNotification::Subject::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    Subject subject;
    reader.required("title", subject.title);
    reader.required("type", subject.type);
    reader.optional("url", subject.url);
    return subject;
}

GitHubNotification::Repository GitHubNotification::Repository::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    Repository repository;
    reader.required("full_name", repository.fullName);
    return repository;
}

GitHubNotification GitHubNotification::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    GitHubNotification notification;
    reader.required("id", notification.id);
    reader.required("reason", notification.reason);
    reader.required("updated_at", notification.updatedAt);
    reader.required("subject", notification.subject);
    reader.required("repository", notification.repository);
    return notification;
}

std::optional<Date> GitHubNotification::updated() const {
    return ISO8601::parse(updatedAt);
}

std::optional<std::string> GitHubNotification::htmlURL(std::string_view webBase) const {
    const auto place = subject.url ? Place::of(*subject.url) : std::nullopt;
    if (!place) return std::nullopt;
    std::string url(webBase);
    const auto& [owner, repositoryName, collection, last] = place->pieces;
    for (const std::string_view piece : {owner, repositoryName, collection == "pulls" ? "pull" : collection})
        url.append(piece).append("/");
    return url.append(last);
}

std::optional<std::int64_t> GitHubNotification::number() const {
    const auto place = subject.url ? Place::of(*subject.url) : std::nullopt;
    return place ? Number::integer<std::int64_t>(place->pieces.back()) : std::nullopt;
}

} // namespace quorvik
