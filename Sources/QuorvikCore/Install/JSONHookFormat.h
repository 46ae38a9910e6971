#pragma once

#include "QuorvikCore/Install/HookFormat.h"
#include "QuorvikCore/Install/SettingsDocument.h"

#include <string_view>

namespace quorvik {

/// Hooks in JSON: under the target's container, each event has a list of entries. An entry is a hook itself,
/// or groups hooks in a list "hooks". This is the layout most agents share; CopilotHookFormat differs in how
/// its file is written.
class JSONHookFormat : public HookFormat {
  public:
    HookInstaller::Status::Kind status(const HookTarget& target, const std::string& text,
                                       const std::string& hookPath) const override;
    std::vector<HookInstaller::Entry> entries(const HookTarget& target,
                                              const std::string& text) const override;
    std::string installed(const HookTarget& target, const Content& text,
                          const std::string& hookPath) const override;
    UserFileEdit::Decision uninstalled(const HookTarget& target, const std::string& text) const override;

  protected:
    /// The member that holds a hook's time-out, in seconds.
    virtual std::string_view timeoutKey() const { return "timeout"; }

    /// The hook as it is written for an event; `commandKey` is the member for the command line.
    JSONValue hook(const HookTarget& target, const std::string& event, std::string_view commandKey,
                   const std::string& hookPath) const;
};

} // namespace quorvik
