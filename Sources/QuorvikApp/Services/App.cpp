#include "QuorvikApp/Services/App.h"

#include "QuorvikApp/Model/IslandModel.h"
#include "QuorvikApp/Services/AlertService.h"
#include "QuorvikApp/Services/ApprovalService.h"
#include "QuorvikApp/Services/ControlService.h"
#include "QuorvikApp/Services/Log.h"
#include "QuorvikApp/Services/Notifier.h"
#include "QuorvikApp/Services/SessionsService.h"
#include "QuorvikApp/Services/SettingsService.h"
#include "QuorvikApp/Signals/Signals.h"

#include "QuorvikCore/Platform/Desktop.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Platform/ServerSocket.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace quorvik::App {

namespace {

using Path = std::filesystem::path;

/// Makes sure that nobody else can put anything into the folder. Throws AppError.
void preparePrivateFolder(const Path& folder) {
    try {
        QuorvikPaths::ensureDirectory(folder);
    } catch (const FileError& error) {
        throw AppError(error.what());
    }
    struct stat status;
    if (::stat(folder.c_str(), &status) != 0) throw AppError(FileError("look at", folder, errno).what());
    if (status.st_uid != ::geteuid())
        throw AppError(folder.string() + " belongs to another user (" + std::to_string(status.st_uid) + ")");
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw AppError("others may write into " + folder.string() + ": chmod go-w it");
}

/// Removes what was left by an app that was killed while it published a socket. To be called by the holder
/// of the lock.
void removeLeftSockets(const Path& folder) {
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->path().filename().native().starts_with(".q") && entry->is_socket(ignored))
            std::filesystem::remove(entry->path(), ignored);
    }
}

/// Raises the limit of descriptors: each waiting hook and each front end takes one.
void allowManyDescriptors() {
    constexpr rlim_t wanted = 4096;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
    limit.rlim_cur = std::min(limit.rlim_max, wanted);
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

/// The app while it runs: connects the sockets, the files and the timers with the model.
class RunningApp {
  public:
    explicit RunningApp(FileLock lock)
        : lock_(std::move(lock)),
          approvals_(
              loop_, model_, [this] { noteChange(); }, [this] { sessions_.lookSoon(); }),
          alerts_(loop_, model_, [this] { noteChange(); }),
          control_(loop_, model_, approvals_,
                   {[this](EventLoop::Handler done) { sync(std::move(done)); }, [this] { stop(); },
                    [this] { noteChange(); }, [this] { signals_.update(); },
                    [this] { return signals_.statuses(); }, [this]() -> GitSignal& { return signals_.git(); },
                    [this]() -> ClipboardSignal& { return signals_.clipboard(); }}),
          notifier_(
              loop_, model_, approvals_,
              [this](std::string_view request) { return control_.isShown(request); },
              [this] { noteChange(); }),
          signals_({loop_, model_, [this] { noteChange(); }, [this] { return control_.hasFrontEnds(); }}),
          settings_(loop_, model_, [this] { settingsChanged(); }),
          sessions_(loop_, model_, [this] { sessionsChanged(); }),
          supportWatch_(loop_, [this](const FolderHints&) { supportFolderChanged(); }),
          publishTimer_(loop_, [this] { publish(); }), changeTimer_(loop_, [this] { noteChange(); }),
          ownLook_(loop_, [this] { slowLook(); }), farewell_(loop_, [this] { loop_.stop(); }),
          terminated_(loop_, SIGTERM, [this] { stop(); }), interrupted_(loop_, SIGINT, [this] { stop(); }),
          hungUp_(loop_, SIGHUP, [this] {
              if (!ignoresHangUp_) stop();
          }) {
        loop_.atEndOfTurn([this] { endTurn(); });
        supportWatch_.watch(QuorvikPaths::supportDirectory().string());
        ownLook_.start(ownInterval);
    }

    /// Removes the sockets' names, also when the app could not start. Connections that still wait to be
    /// accepted are refused.
    ~RunningApp() {
        for (Service& service : services_)
            if (service.socket) service.socket->withdraw();
    }
    RunningApp(const RunningApp&) = delete;
    RunningApp& operator=(const RunningApp&) = delete;

    /// Throws AppError when front ends cannot connect.
    void publishSockets() {
        for (Service& service : services_)
            publishSocket(service);
        if (!services_[controlIndex].socket) throw AppError(services_[controlIndex].trouble);
    }

    void run() { loop_.run(); }

  private:
    /// One of our sockets.
    struct Service {
        std::string_view purpose; ///< what does not work without it
        Path (*path)();
        std::function<void(int)> listen;
        std::optional<ServerSocket> socket;
        std::string trouble;
    };

    static constexpr Timer::Seconds ownInterval{30};
    static constexpr Timer::Seconds farewellLimit{2};
    /// Shortest time between two states that are published.
    static constexpr Timer::Seconds publishInterval{0.005};

    void publishSocket(Service& service) {
        const std::string before = std::exchange(service.trouble, "");
        try {
            // In the support folder, our lock says that the name is ours. Elsewhere, the app of another
            // support folder may have the same one.
            const Path path = service.path();
            const bool isOurs = path.parent_path() == QuorvikPaths::supportDirectory();
            ServerSocket socket = ServerSocket::publish(path, isOurs ? ServerSocket::Replaces::any
                                                                     : ServerSocket::Replaces::dead);
            service.listen(socket.descriptor());
            service.socket = std::move(socket); // an earlier one is closed only now
        } catch (const FileError& error) {
            // An earlier socket stays open: whoever is connected is served, and it is replaced in time.
            service.trouble = std::string(service.purpose) + ": " + error.what();
            struct stat status;
            if (::lstat(error.path().c_str(), &status) == 0 && status.st_uid != ::geteuid())
                service.trouble += " (it belongs to user " + std::to_string(status.st_uid) + ")";
            if (service.trouble != before) Log::line(service.trouble);
        }
        std::vector<std::string> troubles;
        for (const Service& other : services_)
            if (!other.trouble.empty()) troubles.push_back(other.trouble);
        model_.setTroubles("sockets", std::move(troubles), loop_.now());
    }

    enum class Retry { no, yes };

    /// Cleaners of temporary folders take sockets away, and so does whoever removes the support folder. What
    /// could not be published is tried again only by the slow look: the log stands in the same folder, and a
    /// line about a failure is a change there.
    void lookAtOwnSockets(Retry retry) {
        if (retry == Retry::yes) ownLook_.start(ownInterval);
        if (isStopping_) return;
        supportWatch_.watch(QuorvikPaths::supportDirectory().string());
        if (!lock_.stands()) {
            Log::line("the support folder is another one now: this app has nobody left to serve");
            return stop();
        }
        for (Service& service : services_) {
            if (service.socket && service.socket->isPublished()) continue;
            if (retry == Retry::no && !service.trouble.empty()) continue;
            if (service.trouble.empty()) Log::line("publishing " + service.path().string() + " again");
            publishSocket(service);
            noteChange();
        }
    }

    /// For what no hint tells: a settings file that is a link to elsewhere, say, or room on a full disk.
    void slowLook() {
        settings_.reload();
        noteChange();
        lookAtOwnSockets(Retry::yes);
    }

    void supportFolderChanged() {
        settings_.reload();
        sessions_.supportFolderChanged();
        lookAtOwnSockets(Retry::no);
    }

    void settingsChanged() {
        approvals_.settingsChanged();
        signals_.update();
        noteChange();
    }

    void sessionsChanged() {
        signals_.update();
        noteChange();
    }

    void noteChange() { hasChanged_ = true; }

    void endTurn() {
        if (!hasChanged_ || publishTimer_.isRunning()) return;
        const Timer::Seconds since = loop_.now() - lastPublished_;
        if (since < Timer::Seconds::zero() || since >= publishInterval)
            publish();
        else
            publishTimer_.start(publishInterval - since);
    }

    void publish() {
        hasChanged_ = false;
        publishTimer_.stop();
        lastPublished_ = loop_.now();
        settings_.saveMemory();
        control_.publish();
        notifier_.update();
        // The timer runs until the next moment at which the snapshot changes by itself.
        if (const auto next = model_.nextChange(loop_.now()))
            changeTimer_.start(std::max(*next - loop_.now(), Timer::Seconds::zero()));
        else
            changeTimer_.stop();
    }

    /// Calls `done` once files that were written before are read, and messages that were sent before are
    /// handled.
    void sync(EventLoop::Handler done) {
        settings_.reload();
        sessions_.reload();
        loop_.whenIdle([this, done = std::move(done)] {
            publish();
            done();
        });
    }

    void stop() {
        if (std::exchange(isStopping_, true)) return loop_.stop(); // asked twice
        // The sockets stay open: a front end that finds none would start another app before this one has
        // gone.
        approvals_.stop();
        publish();
        control_.stop();
        farewell_.start(farewellLimit);
        waitForFrontEnds();
    }

    void waitForFrontEnds() {
        if (control_.connectionCount() > 0 && farewell_.isRunning()) {
            leaving_.start(Timer::Seconds(0.01));
            return;
        }
        loop_.stop();
    }

    static constexpr std::size_t controlIndex = 2;

    /// nohup(1) wants it to outlive its terminal. Looked at before the loop takes the signal.
    const bool ignoresHangUp_ = [] {
        struct sigaction action {};
        return ::sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
    }();
    FileLock lock_;
    EventLoop loop_;
    IslandModel model_;
    Service services_[3] = {
        {"requests of agents cannot arrive", QuorvikPaths::approvalSocket,
         [this](int socket) { approvals_.listen(socket); }, std::nullopt, ""},
        {"alerts cannot arrive", QuorvikPaths::alertSocket, [this](int socket) { alerts_.listen(socket); },
         std::nullopt, ""},
        {"front ends cannot connect", QuorvikPaths::controlSocket,
         [this](int socket) { control_.listen(socket); }, std::nullopt, ""},
    };
    ApprovalService approvals_;
    AlertService alerts_;
    ControlService control_;
    Notifier notifier_;
    Signals signals_;
    SettingsService settings_; // it and the next one tell the others of what they find while they are made
    SessionsService sessions_;
    FolderWatch supportWatch_;
    Timer publishTimer_, changeTimer_, ownLook_, farewell_;
    Timer leaving_{loop_, [this] { waitForFrontEnds(); }};
    SignalWatch terminated_, interrupted_, hungUp_;
    Date lastPublished_{};
    bool hasChanged_ = true, isStopping_ = false;
};

} // namespace

Outcome run(const std::function<void()>& ready) {
    preparePrivateFolder(QuorvikPaths::supportDirectory());
    allowManyDescriptors();
    try {
        auto lock = FileLock::tryAcquire(QuorvikPaths::appLock());
        if (!lock) return Outcome::runsElsewhere;
        removeLeftSockets(QuorvikPaths::supportDirectory());
        RunningApp app(std::move(*lock));
        app.publishSockets();
        ready();
        Platform::reportReady();
        app.run();
    } catch (const FileError& error) {
        throw AppError(error.what());
    } catch (const LoopError& error) {
        throw AppError(error.what());
    }
    return Outcome::ended;
}

} // namespace quorvik::App
