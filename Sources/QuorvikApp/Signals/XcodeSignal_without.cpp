#include "QuorvikApp/Signals/XcodeSignal.h"

namespace quorvik {

namespace {

class NoXcodeSignal : public Signal {
  public:
    explicit NoXcodeSignal(const SignalContext& context) : Signal(context, "xcode") {}
    void update() override { turnOff("this Quorvik was built without libplist"); }

  private:
    void look() override {}
};

} // namespace

std::unique_ptr<Signal> makeXcodeSignal(const SignalContext& context) {
    return std::make_unique<NoXcodeSignal>(context);
}

} // namespace quorvik
