#pragma once

#include "QuorvikCore/Install/HookInstaller.h"

#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// How hooks are written in one kind of file: turns the file's text into its new text, without touching
/// files. All functions throw EditError (or JSONParseError) when the text cannot be edited.
class HookFormat {
  public:
    using Content = UserFileEdit::Content;

    /// The format of a kind; lives as long as the program.
    static const HookFormat& of(HookTarget::Kind kind);

    virtual ~HookFormat() = default;

    /// Throws EditError "not UTF-8" unless the text is.
    static void requireUTF8(std::string_view text);

    /// The status of our hooks in the text; does not look whether the hook program can be run. Never
    /// `unreadable`: throws instead.
    virtual HookInstaller::Status::Kind status(const HookTarget& target, const std::string& text,
                                               const std::string& hookPath) const = 0;

    /// Our hooks in the text, in their order, whether they are as an install would leave them or not.
    virtual std::vector<HookInstaller::Entry> entries(const HookTarget& target,
                                                      const std::string& text) const = 0;

    /// The text with our hooks in place.
    virtual std::string installed(const HookTarget& target, const Content& text,
                                  const std::string& hookPath) const = 0;

    /// The decision that takes our hooks out of a file with this text.
    virtual UserFileEdit::Decision uninstalled(const HookTarget& target, const std::string& text) const = 0;

    /// Whether the file may hold anything that is not ours, so that its old content is worth keeping.
    virtual bool needsBackup() const { return true; }
};

/// The formats; each is implemented in a file of its own.
const HookFormat& jsonHookFormat();
const HookFormat& copilotHookFormat();
const HookFormat& kimiHookFormat();
const HookFormat& piHookFormat();

} // namespace quorvik
