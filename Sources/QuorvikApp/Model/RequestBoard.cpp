#include "QuorvikApp/Model/RequestBoard.h"

#include "QuorvikApp/Model/Grants.h"

#include <algorithm>

namespace quorvik {

namespace {

/// Grok's hook can hand over answers only: its reply knows no denial, and it asks for no permissions.
bool takesDenials(const ApprovalRequest& request) {
    return request.source != Source::grok;
}

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

} // namespace

std::string whyUnfit(const WaitingRequest& waiting, const ApprovalResponse& response) {
    const ApprovalRequest& request = waiting.request;
    const std::string agent(displayName(request.source));
    switch (response.decision) {
    case ApprovalDecision::ask: return {};
    case ApprovalDecision::deny: return takesDenials(request) ? "" : agent + " takes answers only, no denial";
    case ApprovalDecision::allowAlways:
        if (request.isQuestion()) return "this is a question: there is nothing to allow always";
        if (waiting.grants.empty()) return "\"always\" is not offered for this request";
        [[fallthrough]];
    case ApprovalDecision::allow: break;
    }
    if (!request.isQuestion()) {
        if (response.answers) return "this is no question: it takes no answers";
        const bool isHidden = request.inputTruncated.value_or(false) ||
                              (!request.input && !request.summary.value_or("").empty());
        if (isHidden) return "not all of it can be seen here: allow it in its terminal";
        return ignoresBareAllow(request) ? agent + " takes this permission only in its own interface" : "";
    }
    const std::size_t questions = request.questions->size();
    if (!response.answers || response.answers->size() != questions)
        return "there " + std::string(questions == 1 ? "is " : "are ") +
               counted(questions, "question", "questions") + ", each wants one answer";
    if (std::ranges::any_of(*response.answers, [](const std::string& answer) { return answer.empty(); }))
        return "an answer is empty";
    return {};
}

bool RequestBoard::add(const ApprovalRequest& request, std::string_view members, Date now) {
    if (waiting_.size() >= mostWaiting || find(request.id)) return false;
    waiting_.push_back(std::make_shared<const WaitingRequest>(
        WaitingRequest{request, std::string(members), now, grantsOf(request)}));
    return true;
}

bool RequestBoard::withdraw(std::string_view id) {
    if (!remove(id)) return false;
    remember({std::string(id), std::nullopt});
    return true;
}

std::optional<RequestBoard::Refusal> RequestBoard::check(std::string_view id,
                                                         const ApprovalResponse& response) const {
    using Reason = Refusal::Reason;
    if (const WaitingRequest* request = find(id)) {
        std::string why = whyUnfit(*request, response);
        if (why.empty()) return std::nullopt;
        return Refusal{Reason::unfit, std::move(why)};
    }
    const auto over =
        std::find_if(over_.rbegin(), over_.rend(), [&](const Over& one) { return one.id == id; });
    if (over == over_.rend()) return Refusal{Reason::unknown, "there is no such request"};
    if (!over->answeredBy) return Refusal{Reason::withdrawn, "withdrawn"};
    return Refusal{Reason::answeredAlready, "answered already, by " + *over->answeredBy};
}

void RequestBoard::answered(std::string_view id, std::string by) {
    if (remove(id)) remember({std::string(id), std::move(by)});
}

const WaitingRequest* RequestBoard::find(std::string_view id) const {
    const auto found =
        std::ranges::find_if(waiting_, [&](const auto& waiting) { return waiting->request.id == id; });
    return found == waiting_.end() ? nullptr : found->get();
}

bool RequestBoard::remove(std::string_view id) {
    return std::erase_if(waiting_, [&](const auto& waiting) { return waiting->request.id == id; }) > 0;
}

void RequestBoard::remember(Over over) {
    if (over_.size() == mostRemembered) over_.pop_front();
    over_.push_back(std::move(over));
}

} // namespace quorvik
