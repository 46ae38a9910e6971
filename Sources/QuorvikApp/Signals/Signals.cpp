#include "QuorvikApp/Signals/Signals.h"

#include "QuorvikApp/Signals/ContainerSignal.h"
#include "QuorvikApp/Signals/DevServerSignal.h"
#include "QuorvikApp/Signals/GitHubSignal.h"
#include "QuorvikApp/Signals/ServiceSignal.h"
#include "QuorvikApp/Signals/UsageSignal.h"
#include "QuorvikApp/Signals/XcodeSignal.h"

namespace quorvik {

Signals::Signals(const SignalContext& context) {
    auto git = std::make_unique<GitSignal>(context);
    git_ = git.get();
    signals_.push_back(std::move(git));
    signals_.push_back(std::make_unique<DevServerSignal>(context));
    signals_.push_back(std::make_unique<ContainerSignal>(context));
    signals_.push_back(std::make_unique<ServiceSignal>(context));
    signals_.push_back(makeXcodeSignal(context));
    signals_.push_back(std::make_unique<UsageSignal>(context));
    signals_.push_back(std::make_unique<GitHubSignal>(context));
    auto clipboard = std::make_unique<ClipboardSignal>(context);
    clipboard_ = clipboard.get();
    signals_.push_back(std::move(clipboard));
}

void Signals::update() {
    for (const auto& signal : signals_)
        signal->update();
}

std::vector<SignalStatus> Signals::statuses() const {
    std::vector<SignalStatus> statuses;
    for (const auto& signal : signals_)
        statuses.push_back(signal->status());
    return statuses;
}

} // namespace quorvik
