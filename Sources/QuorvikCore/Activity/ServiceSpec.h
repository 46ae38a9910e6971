#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quorvik {

/// A service that the user wants watched: a local port, a container or a whole Docker Compose project.
struct ServiceSpec {
    struct Port {
        std::int64_t number = 0; ///< 1 to 65535
        bool operator==(const Port&) const = default;
    };
    struct Docker {
        std::string name; ///< of the container
        bool operator==(const Docker&) const = default;
    };
    struct Compose {
        std::string name; ///< of the project
        bool operator==(const Compose&) const = default;
    };
    using Kind = std::variant<Port, Docker, Compose>;

    std::string label; ///< the name shown
    Kind kind;

    /// What a user types or a setting holds: "3000" (labelled ":3000"), "web:3000", "docker:my-db" or
    /// "compose:shop", the two words in any case. A container's or project's name consists of letters,
    /// digits, "_", "." and "-". Absent when it is none of these.
    static std::optional<ServiceSpec> parse(std::string_view text);

    /// A port number, 1 to 65535, and nothing around it.
    static std::optional<std::int64_t> port(std::string_view text);

    /// The form that parse() reads back as the same spec.
    std::string text() const;

    /// "port-3000", "docker-my-db", "compose-shop": the same for all specs that watch the same thing,
    /// whatever their label.
    std::string id() const;

    bool operator==(const ServiceSpec&) const = default;

    // Container listings: one container a line, of five fields with a tab between them: name, state
    // ("running"), status ("Up 2 hours (unhealthy)", "Exited (1) 3 minutes ago"), Compose project and service
    // (empty without one):
    //   docker ps -a --format '{{.Names}}\t{{.State}}\t{{.Status}}\t
    //       {{.Label "com.docker.compose.project"}}\t{{.Label "com.docker.compose.service"}}'
    // Lines with too few fields are passed over.

    struct DockerState {
        std::string name;
        std::optional<std::string> project; ///< the Compose project; absent without one
        bool running = false;
        bool unhealthy = false;               ///< the status says so
        std::optional<std::int64_t> exitCode; ///< as the status tells; absent while it runs

        bool operator==(const DockerState&) const = default;
    };
    static std::vector<DockerState> dockerStates(std::string_view output);

    /// Container name → it runs and is not unhealthy. Of a name listed twice the last line counts.
    static std::map<std::string, bool> dockerHealth(std::string_view output);

    struct ComposeStatus {
        std::int64_t total = 0; ///< containers listed
        /// The services (containers, where a service has no name) that neither run healthily nor have done
        /// their work and exited with 0, in the listing's order.
        std::vector<std::string> down;

        bool operator==(const ComposeStatus&) const = default;
    };
    /// Project name → the state of its containers. Containers outside of any project are left out.
    static std::map<std::string, ComposeStatus> composeHealth(std::string_view output);
};

} // namespace quorvik

template <>
struct std::hash<quorvik::ServiceSpec> {
    std::size_t operator()(const quorvik::ServiceSpec& spec) const {
        return std::hash<std::string>()(spec.text());
    }
};
