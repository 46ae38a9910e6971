// Install, then uninstall: any settings file that holds nothing of ours comes back as the same document.

#include "QuorvikCore/Install/HookFormat.h"
#include "QuorvikCore/Install/SettingsDocument.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace quorvik;

namespace {

/// Without what an install has to overwrite (hooks that are no object, events that are no list), and without
/// the empty lists that are not written back.
JSONValue normalized(JSONValue root, const HookTarget& target) {
    JSONValue* hooks = root["hooks"];
    if (!hooks || !hooks->objectValue()) root.setMember("hooks", JSONValue::object());
    std::erase_if(*root["hooks"]->objectValue(), [&](const JSONMember& member) {
        const auto* list = member.value.arrayValue();
        return std::ranges::count(target.events, member.key) && (!list || list->empty());
    });
    return root;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Kind = HookInstaller::Status::Kind;
    static const HookTarget target = HookTarget::commandCode();
    const HookFormat& format = HookFormat::of(target.kind);
    const std::string path = "/opt/quorvik-hook", text(reinterpret_cast<const char*>(data), size);
    try {
        const auto first = format.uninstalled(target, text);
        const std::string clean = first.kind == UserFileEdit::Decision::Kind::write ? first.text : text;
        if (format.status(target, clean, path) != Kind::notInstalled) std::abort();
        const std::string with = format.installed(target, clean, path);
        if (format.status(target, with, path) != Kind::installed) std::abort();
        const JSONValue back = SettingsDocument::parse(format.uninstalled(target, with).text).root;
        if (!(normalized(back, target) == normalized(SettingsDocument::parse(clean).root, target)))
            std::abort();
    } catch (const EditError&) {
    } catch (const JSONParseError&) {
    }
    return 0;
}
