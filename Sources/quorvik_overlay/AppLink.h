#pragma once

#include "QuorvikApp/FrontEnds/AppConnection.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>

namespace quorvik {

/// The connection to the app within Qt's event loop. It is made again by itself.
class AppLink : public QObject {
    Q_OBJECT

  public:
    explicit AppLink(AppConnection::Handlers handlers);

    /// Begins to connect, and starts an app if there is none.
    void start();

    /// Sends a request, as AppConnection does; false when there is no connection.
    bool send(std::string_view method, const nlohmann::json& params = nlohmann::json::object(),
              std::function<void(const AppConnection::Reply&)> reply = {});

    const AppConnection& connection() const { return connection_; }

  private:
    void read();
    void watch();

    AppConnection connection_;
    std::unique_ptr<QSocketNotifier> notifier_;
    int watched_ = -1;
    QTimer retry_;
};

} // namespace quorvik
