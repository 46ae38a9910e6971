#pragma once

#include "QuorvikCore/Install/HookInstaller.h"

#include <string>
#include <string_view>

namespace quorvik {

/// How hooks stand in one kind of file: from the file's text to its new text, without touching files. All
/// throw EditError (or JSONParseError) when the text is not fit for it.
class HookFormat {
  public:
    using Content = UserFileEdit::Content;

    /// The format of a kind; lives as long as the program.
    static const HookFormat& of(HookTarget::Kind kind);

    virtual ~HookFormat() = default;

    /// Throws EditError "not UTF-8" unless the text is.
    static void requireUTF8(std::string_view text);

    /// What stands in the file, as if the hook program could be run. Never `unreadable`: throws instead.
    virtual HookInstaller::Status::Kind status(const HookTarget& target, const std::string& text,
                                               const std::string& hookPath) const = 0;

    /// The text with our hooks in place.
    virtual std::string installed(const HookTarget& target, const Content& text,
                                  const std::string& hookPath) const = 0;

    /// What is to be done to take our hooks out of a file that exists.
    virtual UserFileEdit::Decision uninstalled(const HookTarget& target, const std::string& text) const = 0;

    /// Whether the file may hold anything that is not ours, so that its old content is worth keeping.
    virtual bool needsBackup() const { return true; }
};

/// The formats, one per file.
const HookFormat& jsonHookFormat();
const HookFormat& copilotHookFormat();
const HookFormat& kimiHookFormat();
const HookFormat& piHookFormat();

} // namespace quorvik
