#include "QuorvikApp/Services/Notifier.h"

#include "QuorvikApp/Model/Notification.h"
#include "QuorvikApp/Services/Log.h"

#include "QuorvikCore/Platform/Desktop.h"
#include "QuorvikCore/Platform/Environment.h"

#include <algorithm>
#include <csignal>

namespace quorvik {

namespace {

/// A notification stands for as long as the user leaves it there.
constexpr ChildProcess::Limits standing{Timer::Seconds(7 * 86'400), 4096};
constexpr ChildProcess::Limits brief{Timer::Seconds(10), 4096};

std::vector<std::string> commandFor(const Notification& notification) {
    return Platform::desktopNotifier() == Platform::Notifier::osascript
               ? osascriptCommand(notification)
               : notifySendCommand(notification, std::nullopt);
}

} // namespace

Notifier::Notifier(EventLoop& loop, IslandModel& model, ApprovalService& approvals, IsShown isShown,
                   EventLoop::Handler changed)
    : loop_(loop), model_(model), approvals_(approvals), isShown_(std::move(isShown)),
      changed_(std::move(changed)), nextLook_(loop, [this] { update(); }) {}

void Notifier::update() {
    if (isMissing_) return;
    const auto& waiting = model_.requests().waiting();
    std::set<std::string, std::less<>> shown;
    for (const auto& request : waiting)
        if (isShown_(request->request.id)) shown.insert(request->request.id);
    std::erase_if(told_, [&](const std::string& id) { return model_.requests().find(id) == nullptr; });

    const NotificationsDue due = NotificationsDue::of(waiting, shown, model_.settings(), loop_.now());
    if (due.next)
        nextLook_.start(*due.next - loop_.now());
    else
        nextLook_.stop();
    if (notification_) {
        if (std::ranges::find(due.ids, about_) != due.ids.end() || std::exchange(isClosing_, true)) return;
        notification_->end(SIGINT); // closes it
        return;
    }
    const auto next =
        std::ranges::find_if(due.ids, [&](const std::string& id) { return !told_.contains(id); });
    if (next != due.ids.end()) tell(*model_.requests().find(*next));
}

void Notifier::tell(const WaitingRequest& request) {
    about_ = request.request.id;
    told_.insert(about_);
    notification_ =
        std::make_unique<ChildProcess>(loop_, commandFor(Notification::of(request.request)), standing,
                                       [this](const ChildProcess::Result& result) { ended(result); });
}

void Notifier::ended(const ChildProcess::Result& result) {
    const auto over = std::move(notification_); // it may call us no more
    const std::string id = std::exchange(about_, {});
    std::vector<std::string> troubles;
    if (!result.isSuccess()) {
        isMissing_ = result.failure.ends_with("no such file or directory");
        const bool wasClosed = std::exchange(isClosing_, false);
        if (!wasClosed)
            Log::line("no notification: " +
                      (result.failure.empty() ? "the desktop takes none" : result.failure));
        if (!isMissing_ && !wasClosed) troubles.emplace_back("notifications: the desktop takes none");
    }
    model_.setTroubles("notifications", std::move(troubles), loop_.now());

    const auto action = NotifySendOutput::parse(result.output).action;
    const WaitingRequest* request = model_.requests().find(id);
    if (request && action == NotifySendOutput::Action::deny)
        approvals_.answer(id, {ApprovalDecision::deny, std::nullopt, std::nullopt}, "a desktop notification",
                          [](const std::optional<RequestBoard::Refusal>&) {});
    if (request && action == NotifySendOutput::Action::show)
        opening_ = std::make_unique<ChildProcess>(
            loop_,
            std::vector<std::string>{Platform::runningProgram().string(), "open", request->request.key()},
            brief, [](const ChildProcess::Result&) {}, ChildProcess::Locale::users);
    changed_();
}

} // namespace quorvik
