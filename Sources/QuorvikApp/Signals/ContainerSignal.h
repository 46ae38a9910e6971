#pragma once

#include "QuorvikApp/Model/ServiceBoard.h"
#include "QuorvikApp/Signals/Signal.h"

namespace quorvik {

/// Shows the containers and Compose projects that docker (podman, where there is no docker) lists, and those
/// that the user watches by name. Every 10 seconds while somebody looks at the island, else every 60.
class ContainerSignal : public Signal {
  public:
    explicit ContainerSignal(const SignalContext& context) : Signal(context, "containers") {}

    void update() override;

  private:
    void look() override;
    void listed(const std::string& listing);

    ServiceBoard board_;
};

} // namespace quorvik
