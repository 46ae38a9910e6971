#pragma once

#include "QuorvikApp/Model/ServiceBoard.h"

#include "QuorvikCore/Activity/ServiceSpec.h"

#include <string_view>
#include <vector>

/// What a listing of containers (ServiceSpec::dockerStates) says of services.
namespace quorvik::ContainerServices {

struct States {
    std::vector<ServiceState> services;

    /// Ids of services that have done their work: ended, with an exit status of 0.
    std::vector<std::string> finished;
};

/// Every Compose project as one service, and each container outside of one; with `onlyWatched` nothing but
/// what `watched` names. A watched service that is not listed is down; one that is watched never counts as
/// finished.
States of(std::string_view listing, const std::vector<ServiceSpec>& watched, bool onlyWatched);

/// Whether the service is a container or a Compose project.
bool isContainers(const ServiceSpec& service);

} // namespace quorvik::ContainerServices
