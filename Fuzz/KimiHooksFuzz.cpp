// What the user wrote outside our block of a TOML file stays, to the byte, whatever it is.

#include "QuorvikCore/Install/HookFormat.h"

#include <cstdint>
#include <cstdlib>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const HookTarget target = HookTarget::kimi();
    const HookFormat& format = HookFormat::of(target.kind);
    const std::string path = "/opt/quorvik-hook", text(reinterpret_cast<const char*>(data), size);
    try {
        const auto without = [&](const std::string& whole) {
            const auto decision = format.uninstalled(target, whole);
            return decision.kind == UserFileEdit::Decision::Kind::keep ? whole : decision.text;
        };
        const std::string user = without(text);
        const std::string with = format.installed(target, text, path);
        if (!with.starts_with(user)) std::abort();
        if (user.ends_with('\r')) return 0; // gains a line feed, for good
        if (format.installed(target, with, path) != with) std::abort();
        if (format.status(target, with, path) != HookInstaller::Status::Kind::installed) std::abort();
        if (without(with) != user) std::abort();

        // The block between two halves without markers.
        if (text.find("quorvik hooks") != text.npos) return 0;
        const std::size_t half = text.find('\n', size / 2) + 1;
        const std::string block = format.installed(target, std::nullopt, path);
        if (without(text.substr(0, half) + block + text.substr(half)) != text) std::abort();
    } catch (const EditError&) {
    }
    return 0;
}
