#include "QuorvikCore/Install/StatusLineInstaller.h"

#include "QuorvikCore/Install/SettingsDocument.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <exception>

namespace quorvik::StatusLineInstaller {

namespace {

using Decision = UserFileEdit::Decision;
using Path = std::filesystem::path;

constexpr const char* member = "statusLine";
constexpr const char* option = "--statusline";

const std::string* commandOf(const JSONValue& value) {
    const JSONValue* command = value["command"];
    return command ? command->stringValue() : nullptr;
}

JSONValue managed(const std::string& hookPath) {
    JSONValue value = JSONValue::object();
    value.setMember("type", JSONValue::string("command"));
    value.setMember("command", JSONValue::string(std::string(QuorvikPaths::managedMarker) + " '" + hookPath +
                                                 "' " + option));
    return value;
}

/// The user's status line, as it was saved.
struct Saved {
    std::optional<JSONValue> value; ///< absent when none was saved, or it is damaged
    bool isDamaged = false;         ///< there is one that cannot be read or understood
};

Saved saved(const Path& originalFile) {
    try {
        const auto text = UserFileEdit::read(originalFile);
        return {text ? std::optional(OrderedJSON::parse(*text)) : std::nullopt};
    } catch (const std::exception&) {
        return {.isDamaged = true};
    }
}

/// Saves the status line. One that was saved before, if it differs, goes to the backups.
void save(const std::string& text, const Path& originalFile) {
    const auto decide = [&](const UserFileEdit::Content& found) {
        return found == text ? Decision::keep() : Decision::write(text);
    };
    UserFileEdit::edit(originalFile, decide, {.backupName = originalFile.filename().string()});
}

void forget(const Path& originalFile) {
    std::error_code ignored;
    std::filesystem::remove(originalFile, ignored);
}

/// Moves the saved status line out of the way of the next installation. Returns where the file is now.
Path setAside(const Path& originalFile) {
    try {
        return Backups::moveHere(originalFile);
    } catch (const FileError&) {
        return originalFile;
    }
}

} // namespace

Path originalFile() {
    return QuorvikPaths::supportDirectory() / "statusline-original.json";
}

bool isOurs(const JSONValue& value) {
    const std::string* command = commandOf(value);
    return command && command->find(QuorvikPaths::hookBinaryName) != command->npos &&
           command->find(option) != command->npos;
}

Status status(const HookTarget& target) {
    try {
        const auto document = SettingsDocument::parse(UserFileEdit::read(target.fileURL));
        const JSONValue* value = document.root[member];
        return {value && isOurs(*value) ? Status::Kind::on : Status::Kind::off, {}};
    } catch (const std::exception& error) {
        return {Status::Kind::unreadable, error.what()};
    }
}

std::optional<std::string> ownCommand(const HookTarget& target) try {
    const auto document = SettingsDocument::parse(UserFileEdit::read(target.fileURL));
    const JSONValue* value = document.root[member];
    return value && isOurs(*value) ? std::optional(*commandOf(*value)) : std::nullopt;
} catch (const std::exception&) {
    return std::nullopt;
}

EditOutcome install(const HookTarget& target, const std::string& hookPath, const Path& originalFile) {
    if (hookPath.find('\'') != hookPath.npos)
        throw EditError("the path of the hook program must not contain a single quote: " + hookPath);
    const JSONValue ours = managed(hookPath);
    if (!isOurs(ours))
        throw EditError("the path of the hook program must contain \"quorvik-hook\": " + hookPath);

    // The user's own status line; absent when there is none, or it is ours already.
    std::optional<std::string> original;
    const auto decide = [&](const UserFileEdit::Content& text) {
        SettingsDocument document = SettingsDocument::parse(text);
        const JSONValue* current = document.root[member];
        original.reset();
        if (current && !isOurs(*current)) original = SettingsDocument{*current, false}.print();
        document.root.setMember(member, ours);
        return Decision::write(document.print());
    };
    const auto keepOriginal = [&] {
        if (original) save(*original, originalFile);
    };
    return UserFileEdit::edit(target.fileURL, decide,
                              {.backupName = target.backupName(), .beforeWrite = keepOriginal});
}

bool isCurrent(const HookTarget& target, const std::string& hookPath) {
    try {
        const auto document = SettingsDocument::parse(UserFileEdit::read(target.fileURL));
        const JSONValue* value = document.root[member];
        return value && *value == managed(hookPath);
    } catch (const std::exception&) {
        return false;
    }
}

Removal uninstall(const HookTarget& target, const Path& originalFile) {
    Removal removal;
    bool isDamaged = false;
    const auto decide = [&](const UserFileEdit::Content& text) {
        SettingsDocument document;
        try {
            document = SettingsDocument::parse(text);
        } catch (const std::exception& error) {
            removal.unreadable = error.what();
            return Decision::keep();
        }
        const JSONValue* current = document.root[member];
        if (!current || !isOurs(*current)) return Decision::keep();
        Saved original = saved(originalFile);
        isDamaged = original.isDamaged;
        document.root.setMember(member, std::move(original.value));
        return Decision::write(document.print());
    };
    try {
        UserFileEdit::read(target.fileURL);
    } catch (const std::exception& error) {
        removal.unreadable = error.what();
        return removal;
    }
    static_cast<EditOutcome&>(removal) =
        UserFileEdit::edit(target.fileURL, decide, {.backupName = target.backupName()});
    if (!removal.changed) return removal;
    if (isDamaged)
        removal.setAside = setAside(originalFile);
    else
        forget(originalFile);
    return removal;
}

std::optional<std::string> originalCommand(const Path& file) {
    const auto value = saved(file).value;
    const std::string* command = value ? commandOf(*value) : nullptr;
    return command ? std::optional(*command) : std::nullopt;
}

} // namespace quorvik::StatusLineInstaller
