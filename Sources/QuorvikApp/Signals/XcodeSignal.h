#pragma once

#include "QuorvikApp/Signals/Signal.h"

namespace quorvik {

/// Shows Xcode's builds and test runs as they end, by the manifests in its DerivedData folder. Reading those
/// takes libplist: built without it, the signal is off and says so.
std::unique_ptr<Signal> makeXcodeSignal(const SignalContext& context);

} // namespace quorvik
