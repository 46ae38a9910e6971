#pragma once

#include "QuorvikApp/Model/ServiceBoard.h"
#include "QuorvikApp/Signals/Signal.h"

namespace quorvik {

/// Shows whether somebody accepts connections at the ports that the user watches by name, every 5 seconds.
/// It connects to them, and says nothing.
class ServiceSignal : public Signal {
  public:
    explicit ServiceSignal(const SignalContext& context) : Signal(context, "services") {}

    void update() override;

  private:
    void look() override;
    void looked(const std::vector<ServiceState>& states);

    ServiceBoard board_;
    std::vector<ServiceSpec> watched_;
};

} // namespace quorvik
