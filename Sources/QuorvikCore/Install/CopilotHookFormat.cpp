#include "QuorvikCore/Install/JSONHookFormat.h"

namespace quorvik {

namespace {

/// Copilot reads every file of its hooks folder; ours is written whole. Hooks stand directly in the lists of
/// the events.
class CopilotHookFormat : public JSONHookFormat {
  public:
    std::string installed(const HookTarget& target, const Content& text,
                          const std::string& hookPath) const override {
        SettingsDocument document = SettingsDocument::parse(text); // a damaged file is left to the user
        JSONValue events = JSONValue::object();
        for (const std::string& event : target.events)
            events.setMember(event, JSONValue::array({hook(target, event, "bash", hookPath)}));
        document.root = JSONValue::object();
        document.root.setMember("version", JSONValue::number("1"));
        document.root.setMember("hooks", std::move(events));
        return document.print();
    }

  protected:
    std::string_view timeoutKey() const override { return "timeoutSec"; }
};

} // namespace

const HookFormat& copilotHookFormat() {
    static const CopilotHookFormat format;
    return format;
}

} // namespace quorvik
