#include "quorvik_overlay/AppLink.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

AppLink::AppLink(AppConnection::Handlers handlers) : connection_("overlay", std::move(handlers)) {
    retry_.setSingleShot(true);
    connect(&retry_, &QTimer::timeout, this, [this] {
        connection_.reconnect();
        watch();
    });
}

void AppLink::start() {
    connection_.connect(ControlClient::Start::ifMissing);
    watch();
}

bool AppLink::send(std::string_view method, const nlohmann::json& params,
                   std::function<void(const AppConnection::Reply&)> reply) {
    const bool isSent = connection_.send(method, params, std::move(reply));
    watch();
    return isSent;
}

void AppLink::read() {
    connection_.read();
    watch();
}

/// Waits for what the connection waits for now.
void AppLink::watch() {
    const int descriptor = connection_.descriptor();
    if (descriptor != watched_) {
        if (notifier_) {
            notifier_->setEnabled(false);
            notifier_.release()->deleteLater(); // it may be the one that has called us
        }
        watched_ = descriptor;
        if (descriptor >= 0) {
            notifier_ = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
            connect(notifier_.get(), &QSocketNotifier::activated, this, &AppLink::read);
        }
    }
    if (const auto at = connection_.reconnectAt()) {
        const double left = std::max(*at - steadySeconds(), 0.0);
        retry_.start(static_cast<int>(std::ceil(left * 1000)));
    } else {
        retry_.stop();
    }
}

} // namespace quorvik
