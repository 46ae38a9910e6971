#pragma once

#include "QuorvikApp/Model/ServiceBoard.h"
#include "QuorvikApp/Signals/Signal.h"

#include "QuorvikCore/Activity/DevServerDiscovery.h"

namespace quorvik {

/// Shows the development servers that run below the user's home folder. It only looks: at what listens, and
/// where those processes work. While somebody looks at the island: every 0.8 seconds for 15 after anything
/// happened there, then every 5. Else every 30.
class DevServerSignal : public Signal {
  public:
    explicit DevServerSignal(const SignalContext& context) : Signal(context, "servers") {}

    void update() override;

  private:
    void look() override;
    void setInterval();
    void list();
    void listed(std::string listing);
    void found(const std::vector<ServiceState>& servers);

    ServiceBoard board_;
    std::optional<std::string> table_; ///< of listeners, at the last listing
    Date lastListing_{}, lastActivity_{};
    std::vector<ServiceState> servers_; ///< as the last listing found them
};

} // namespace quorvik
