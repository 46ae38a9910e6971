#include "QuorvikCore/Agents/HookEvent.h"

#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik {

namespace {

struct Spelling {
    std::string_view received;
    std::string_view canonical;
};

constexpr Spelling spellings[] = {
    {"sessionStart", "SessionStart"},
    {"sessionEnd", "SessionEnd"},
    {"userPromptSubmitted", "UserPromptSubmit"},
    {"preToolUse", "PreToolUse"},
    {"postToolUse", "PostToolUse"},
    {"postToolUseFailure", "PostToolUseFailure"},
    {"permissionRequest", "PermissionRequest"},
    {"notification", "Notification"},
    {"agentStop", "Stop"},
    {"subagentStart", "SubagentStart"},
    {"subagentStop", "SubagentStop"},
    {"preCompact", "PreCompact"},
};

/// A tool's arguments, most telling first.
constexpr std::string_view summaryArguments[] = {"command",       "file_path", "absolute_path", "path",
                                                 "notebook_path", "pattern",   "url",           "query",
                                                 "description",   "prompt"};

constexpr std::string_view questionsArgument = "questions";

/// An argument as one text: a text that is more than blanks, or a list of texts (a command's words) joined by
/// spaces.
std::optional<std::string> argumentText(std::string_view value) {
    if (auto text = RawJSON::string(value)) {
        if (Unicode::trimmed(*text, Unicode::isWhitespace).empty()) return std::nullopt;
        return text;
    }
    const auto elements = RawJSON::elements(value);
    if (!elements || elements->empty()) return std::nullopt;
    std::string joined;
    for (const std::string_view element : *elements) {
        const auto text = RawJSON::string(element);
        if (!text) return std::nullopt;
        if (&element != elements->data()) joined += ' ';
        joined += *text;
    }
    return joined;
}

/// Bytes of a text that nearly always decide what is shown of it.
constexpr std::size_t enough = 16'384;

/// The text of a JSON string, given without its quotes, of which only the start is known; its last character
/// may be wrong.
std::string textOfStart(std::string_view written) {
    for (auto escape = written.find('\\'); escape != written.npos;) {
        const std::size_t end = escape + (written.substr(escape).starts_with("\\u") ? 6 : 2);
        if (end > written.size()) written = written.substr(0, escape); // never in the middle of one
        escape = written.find('\\', end);
    }
    return RawJSON::decoded(written);
}

/// The short redacted form of a JSON string, given without its quotes, which may be megabytes long: as little
/// of it is decoded as decides. Absent when it holds nothing but blanks.
std::optional<std::string> longTextSummary(std::string_view written, std::string_view folder) {
    const auto isTelling = [](std::string_view text) {
        return !Unicode::trimmed(text, Unicode::isWhitespace).empty();
    };
    const auto blanks = RawJSON::leadingBlanks(written); // which do not show
    written.remove_prefix(blanks.length);
    const std::string start = textOfStart(written.substr(0, enough));
    if (blanks.haveLineBreak || isTelling(start))
        if (auto summary = Redactor::redactStart(start, folder)) return summary;
    if (written.find('\\') == written.npos) {
        if (!blanks.haveLineBreak && !isTelling(written)) return std::nullopt;
        return Redactor::redact(written, folder);
    }
    const std::string text = RawJSON::decoded(written);
    if (!blanks.haveLineBreak && !isTelling(text)) return std::nullopt;
    return Redactor::redact(text, folder);
}

/// An argument as a short redacted text.
std::optional<std::string> argumentSummary(std::string_view value, std::string_view folder) {
    if (value.size() > enough && value.starts_with('"'))
        return longTextSummary(value.substr(1, value.size() - 2), folder);
    const auto text = argumentText(value);
    if (!text) return std::nullopt;
    return Redactor::redact(*text, folder);
}

/// An agent's JSON text, fit to travel: strict readers take it.
std::string repairedJSON(std::string_view value) {
    return Unicode::repaired(RawJSON::withoutHalfSurrogates(value));
}

/// Some agents send a text, others the list itself.
std::optional<std::string> suggestions(const HookPayload& payload) {
    if (auto text = payload.text("permission_suggestions")) return text;
    for (const std::string_view key : {"permission_suggestions", "permissionSuggestions"}) {
        const std::string_view list = payload.json(key).value_or("");
        if (list.starts_with('[') && RawJSON::compacted(list) != "[]") return repairedJSON(list);
    }
    return std::nullopt;
}

/// A tool's arguments.
struct Input {
    RawJSON::MemberViews members;
    std::shared_ptr<const std::string> text; ///< where the payload has them in a string: what that says
};

Input inputOf(const HookPayload& payload) {
    for (const std::string_view key : HookPayload::inputKeys) {
        if (const auto* members = payload.input(key)) return {*members, nullptr};
        const auto text = payload.hasText(key) ? RawJSON::string(*payload.json(key)) : std::nullopt;
        if (!text) continue;
        auto kept = std::make_shared<const std::string>(std::move(*text));
        if (auto members = RawJSON::members(*kept)) return {std::move(*members), std::move(kept)};
    }
    return {};
}

} // namespace

std::optional<HookEvent> HookEvent::fromPayload(const HookPayload& payload) {
    const auto name = payload.eventName();
    auto session = payload.text({"session_id", "sessionId"});
    if (!name || !session || session->empty()) return std::nullopt;
    HookEvent event;
    event.name = canonicalName(*name);
    event.sessionID = std::move(*session);
    event.cwd = payload.text({"cwd", "workspaceRoot"}).value_or("");
    event.toolName = payload.text({"tool_name", "toolName"});
    auto [arguments, text] = inputOf(payload);
    event.toolInput = std::move(arguments);
    event.kept.text = std::move(text);
    event.notificationType = payload.text("notification_type");
    event.message = payload.text("message");
    event.error = payload.text("error");
    event.lastAssistantMessage = payload.text("last_assistant_message");
    event.prompt = payload.text({"submitted_prompt", "prompt"});
    event.source = payload.text("source");
    event.permissionSuggestions = suggestions(payload);
    return event;
}

std::optional<HookEvent> HookEvent::fromJSON(std::string_view bytes) {
    auto copy = std::make_shared<const std::string>(bytes);
    const auto payload = HookPayload::read(*copy);
    auto event = payload ? fromPayload(*payload) : std::nullopt;
    if (event && !event->kept.text) event->kept.text = std::move(copy);
    return event;
}

std::string HookEvent::canonicalName(std::string_view name) {
    for (const Spelling& spelling : spellings)
        if (spelling.received == name) return std::string(spelling.canonical);
    return std::string(name);
}

RawJSON::Members HookEvent::toolInputFrom(const HookPayload& payload) {
    const Input input = inputOf(payload);
    return {input.members.begin(), input.members.end()};
}

std::optional<std::string> HookEvent::toolInputText(const HookPayload& payload, std::size_t limit) {
    constexpr std::size_t longestCharacter = 16; // bytes of JSON, so that the last one asked for is whole
    const auto startOf = [&](std::string_view text) {
        if (text.size() - std::min(text.size(), limit) > longestCharacter)
            text = text.substr(0, limit + longestCharacter);
        return repairedJSON(text);
    };
    for (const std::string_view key : HookPayload::inputKeys) {
        if (payload.input(key)) return startOf(*payload.json(key));
        const auto text = payload.hasText(key) ? RawJSON::string(*payload.json(key)) : std::nullopt;
        const auto value = text ? RawJSON::value(*text) : std::nullopt;
        if (value && value->starts_with('{')) return startOf(*value);
    }
    return std::nullopt;
}

bool HookEvent::isQuestionTool() const {
    return toolName && Question::isTool(*toolName);
}

std::vector<Question> HookEvent::questions() const {
    const auto list = toolInput.find(questionsArgument);
    if (!isQuestionTool() || list == toolInput.end()) return {};
    const auto value = parseJSON(repairedJSON(list->second));
    return value ? Question::parse(*value).value_or(std::vector<Question>()) : std::vector<Question>();
}

std::optional<std::string> HookEvent::firstQuestion() const {
    const auto list = toolInput.find(questionsArgument);
    if (!isQuestionTool() || list == toolInput.end()) return std::nullopt;
    // Not questions(): what cannot be shown as a card can still be named.
    const JSONValue value = OrderedJSON::parse(repairedJSON(list->second));
    const auto* elements = value.arrayValue();
    const JSONValue* text =
        elements && !elements->empty() ? elements->front().valueAt({"question"}) : nullptr;
    const std::string* question = text ? text->stringValue() : nullptr;
    if (!question || Unicode::trimmed(*question, Unicode::isWhitespaceOrNewline).empty()) return std::nullopt;
    return Redactor::redact(*question, cwd);
}

std::optional<std::string> HookEvent::toolSummary() const {
    for (const std::string_view key : summaryArguments) {
        const auto argument = toolInput.find(key);
        if (argument == toolInput.end()) continue;
        if (auto summary = argumentSummary(argument->second, cwd)) return summary;
    }
    return std::nullopt;
}

std::optional<ApprovalRequest> HookEvent::approvalRequest(Source agent, std::string id) const {
    const bool asksPermission = supportsApprovals(agent) && name == "PermissionRequest";
    const bool asksQuestions =
        supportsQuestions(agent) && name == (asksOnPreToolUse(agent) ? "PreToolUse" : "PermissionRequest");
    if (isQuestionTool() && !supportsQuestions(agent)) return std::nullopt;
    auto list = asksQuestions ? questions() : std::vector<Question>();
    if (list.empty() && !asksPermission) return std::nullopt;

    ApprovalRequest request{.id = std::move(id),
                            .source = agent,
                            .sessionID = sessionID,
                            .cwd = cwd,
                            .tool = toolName,
                            .summary = toolSummary(),
                            .suggestions = permissionSuggestions};
    if (!list.empty()) {
        request.questions = std::move(list);
        request.questionsJSON = repairedJSON(toolInput.find(questionsArgument)->second);
    }
    return request;
}

} // namespace quorvik
