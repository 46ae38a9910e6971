#include "QuorvikCore/Activity/ServiceSpec.h"

#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <array>

namespace quorvik {

namespace {

constexpr std::int64_t lastPort = 65535;
constexpr std::string_view exitedWith = "exited (";

bool isName(std::string_view text) {
    if (text.empty()) return false;
    while (!text.empty()) {
        const char32_t scalar = Unicode::firstScalar(Unicode::takeCharacter(text)).value;
        if (!Unicode::isLetter(scalar) && !Unicode::isDigit(scalar) && scalar != '_' && scalar != '.' &&
            scalar != '-')
            return false;
    }
    return true;
}

std::string portLabel(std::int64_t port) {
    return ":" + std::to_string(port);
}

/// One line of a container listing.
struct Container {
    std::string_view name, state, project, service;
    std::string status; ///< lower-cased
    bool hasComposeFields = false;

    static std::optional<Container> parse(std::string_view line) {
        std::array<std::string_view, 5> fields;
        std::size_t count = 0;
        for (bool more = true; more && count < fields.size(); ++count) {
            const auto tab = line.find('\t');
            fields[count] = line.substr(0, tab);
            more = tab != line.npos;
            if (more) line.remove_prefix(tab + 1);
        }
        if (count < 3) return std::nullopt;
        return Container{fields[0],
                         fields[1],
                         fields[3],
                         fields[4],
                         Unicode::lowercased(fields[2]),
                         count == fields.size()};
    }

    bool runs() const { return state == "running"; }
    bool isUnhealthy() const { return status.find("unhealthy") != status.npos; }
    bool isHealthy() const { return runs() && !isUnhealthy(); }
    bool hasProject() const { return hasComposeFields && !project.empty(); }

    /// One-shot services (a migration, say) exit when they have done their work.
    bool hasDoneItsWork() const { return state == "exited" && status.starts_with("exited (0)"); }

    std::optional<std::int64_t> exitCode() const {
        const auto start = status.find(exitedWith);
        if (runs() || start == status.npos) return std::nullopt;
        const auto rest = std::string_view(status).substr(start + exitedWith.size());
        const auto end = rest.find(')');
        return end == rest.npos ? std::nullopt : Number::integer<std::int64_t>(rest.substr(0, end));
    }
};

template <typename Use>
void forEachContainer(std::string_view output, Use use) {
    while (!output.empty()) {
        if (const auto container = Container::parse(Unicode::takeLine(output))) use(*container);
    }
}

} // namespace

std::optional<std::int64_t> ServiceSpec::port(std::string_view text) {
    const auto number = Number::integer<std::int64_t>(text);
    if (!number || *number < 1 || *number > lastPort) return std::nullopt;
    return number;
}

std::optional<ServiceSpec> ServiceSpec::parse(std::string_view text) {
    text = Unicode::trimmed(text, Unicode::isWhitespaceOrNewline);
    if (const auto number = port(text)) return ServiceSpec{portLabel(*number), Port{*number}};

    const auto colon = text.find(':');
    if (colon == text.npos || colon == 0) return std::nullopt;
    const std::string_view first = text.substr(0, colon), second = text.substr(colon + 1);
    const std::string word = Unicode::lowercased(first);
    if (word != "docker" && word != "compose") {
        const auto number = port(second);
        if (!number) return std::nullopt;
        return ServiceSpec{std::string(first), Port{*number}};
    }
    const std::string name(Unicode::trimmed(second, [](char32_t scalar) { return scalar == ' '; }));
    if (!isName(name)) return std::nullopt;
    return ServiceSpec{name, word == "docker" ? Kind(Docker{name}) : Kind(Compose{name})};
}

std::string ServiceSpec::text() const {
    if (const auto* docker = std::get_if<Docker>(&kind)) return "docker:" + docker->name;
    if (const auto* compose = std::get_if<Compose>(&kind)) return "compose:" + compose->name;
    const std::int64_t number = std::get<Port>(kind).number;
    return label == portLabel(number) ? std::to_string(number) : label + portLabel(number);
}

std::string ServiceSpec::id() const {
    if (const auto* docker = std::get_if<Docker>(&kind)) return "docker-" + docker->name;
    if (const auto* compose = std::get_if<Compose>(&kind)) return "compose-" + compose->name;
    return "port-" + std::to_string(std::get<Port>(kind).number);
}

std::vector<ServiceSpec::DockerState> ServiceSpec::dockerStates(std::string_view output) {
    std::vector<DockerState> states;
    forEachContainer(output, [&](const Container& container) {
        states.push_back({.name = std::string(container.name),
                          .running = container.runs(),
                          .unhealthy = container.isUnhealthy(),
                          .exitCode = container.exitCode()});
        if (container.hasProject()) states.back().project = container.project;
    });
    return states;
}

std::map<std::string, bool> ServiceSpec::dockerHealth(std::string_view output) {
    std::map<std::string, bool> health;
    forEachContainer(output, [&](const Container& container) {
        health[std::string(container.name)] = container.isHealthy();
    });
    return health;
}

std::map<std::string, ServiceSpec::ComposeStatus> ServiceSpec::composeHealth(std::string_view output) {
    std::map<std::string, ComposeStatus> projects;
    forEachContainer(output, [&](const Container& container) {
        if (!container.hasProject()) return;
        ComposeStatus& project = projects[std::string(container.project)];
        ++project.total;
        if (!container.isHealthy() && !container.hasDoneItsWork())
            project.down.emplace_back(container.service.empty() ? container.name : container.service);
    });
    return projects;
}

} // namespace quorvik
