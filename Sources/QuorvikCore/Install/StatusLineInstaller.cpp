#include "QuorvikCore/Install/StatusLineInstaller.h"

#include "QuorvikCore/Install/SettingsDocument.h"
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

/// Absent when there is no such file, or what it holds is damaged.
std::optional<JSONValue> saved(const Path& originalFile) {
    try {
        if (const auto text = UserFileEdit::read(originalFile)) return OrderedJSON::parse(*text);
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

void save(const std::string& text, const Path& originalFile) {
    UserFileEdit::edit(originalFile, [&](const auto&) { return Decision::write(text); }, {});
}

void forget(const Path& originalFile) {
    std::error_code ignored;
    std::filesystem::remove(originalFile, ignored);
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

FileChange install(const HookTarget& target, const std::string& hookPath, const Path& originalFile) {
    if (hookPath.find('\'') != hookPath.npos)
        throw EditError("the path of the hook program must not contain a single quote: " + hookPath);
    const JSONValue ours = managed(hookPath);
    if (!isOurs(ours))
        throw EditError("the path of the hook program must contain \"quorvik-hook\": " + hookPath);

    // The user's own status line; absent when ours is there already.
    std::optional<std::string> original;
    bool hasNone = false;
    const auto decide = [&](const UserFileEdit::Content& text) {
        SettingsDocument document = SettingsDocument::parse(text);
        const JSONValue* current = document.root[member];
        original.reset();
        hasNone = !current;
        if (current && !isOurs(*current)) original = SettingsDocument{*current, false}.print();
        document.root.setMember(member, ours);
        return Decision::write(document.print());
    };
    const auto keepOriginal = [&] {
        if (original) save(*original, originalFile);
        if (hasNone) forget(originalFile); // saved long ago, and given up by the user since
    };
    return UserFileEdit::edit(target.fileURL, decide,
                              {.backupName = target.backupName(), .beforeWrite = keepOriginal});
}

FileChange uninstall(const HookTarget& target, const Path& originalFile) {
    const auto decide = [&](const UserFileEdit::Content& text) {
        SettingsDocument document;
        try {
            document = SettingsDocument::parse(text);
        } catch (const std::exception&) {
            return Decision::keep();
        }
        const JSONValue* current = document.root[member];
        if (!current || !isOurs(*current)) return Decision::keep();
        document.root.setMember(member, saved(originalFile));
        return Decision::write(document.print());
    };
    try {
        UserFileEdit::read(target.fileURL);
    } catch (const std::exception&) {
        return {};
    }
    const FileChange change = UserFileEdit::edit(target.fileURL, decide, {.backupName = target.backupName()});
    if (change.changed) forget(originalFile);
    return change;
}

std::optional<std::string> originalCommand(const Path& file) {
    const auto value = saved(file);
    const std::string* command = value ? commandOf(*value) : nullptr;
    return command ? std::optional(*command) : std::nullopt;
}

} // namespace quorvik::StatusLineInstaller
