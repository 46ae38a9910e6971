#include "QuorvikCore/Activity/XcodeManifest.h"

#include "QuorvikCore/Activity/PropertyListGuard.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Text/Unicode.h"

#include <plist/plist.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

namespace quorvik::XcodeManifest {

namespace {

struct Release {
    void operator()(void* list) const { ::plist_free(list); }
};
struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
using Text = std::unique_ptr<char, Free>;
using Iterator = std::unique_ptr<void, Free>;

/// No deeper than the guard lets pass.
nlohmann::json converted(plist_t node) {
    switch (::plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        ::plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        ::plist_get_uint_val(node, &value);
        return static_cast<std::int64_t>(value); // negative ones come as their two's complement
    }
    case PLIST_REAL: {
        double value = 0;
        ::plist_get_real_val(node, &value);
        return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json();
    }
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* const value = ::plist_get_string_ptr(node, &length);
        return Unicode::repaired(std::string_view(value, value ? length : 0));
    }
    case PLIST_ARRAY: {
        nlohmann::json elements = nlohmann::json::array();
        plist_array_iter position = nullptr;
        ::plist_array_new_iter(node, &position);
        const Iterator owned(position);
        for (plist_t element = nullptr;;) {
            ::plist_array_next_item(node, position, &element);
            if (!element) return elements;
            elements.push_back(converted(element));
        }
    }
    case PLIST_DICT: {
        nlohmann::json members = nlohmann::json::object();
        plist_dict_iter position = nullptr;
        ::plist_dict_new_iter(node, &position);
        const Iterator owned(position);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            ::plist_dict_next_item(node, position, &key, &value);
            const Text ownedKey(key);
            if (!value) return members;
            members[Unicode::repaired(key ? key : "")] = converted(value);
        }
    }
    default: return nullptr;
    }
}

} // namespace

std::optional<nlohmann::json> parse(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > maximumSize) return std::nullopt;
    const bool isBinary = bytes.starts_with("bplist00");
    if (isBinary ? !PropertyListGuard::isHarmlessBinary(bytes) : !PropertyListGuard::isHarmlessXML(bytes))
        return std::nullopt;
    plist_t list = nullptr;
    (isBinary ? ::plist_from_bin : ::plist_from_xml)(bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                                                     &list);
    if (!list) return std::nullopt;
    const std::unique_ptr<void, Release> owned(list);
    return converted(list);
}

std::vector<XcodeActivity> activities(const std::filesystem::path& projectFolder) {
    std::vector<XcodeActivity> all;
    for (const char* kind : {"Build", "Test"}) {
        const auto bytes = Files::read(projectFolder / "Logs" / kind / "LogStoreManifest.plist", maximumSize);
        const auto manifest = bytes ? parse(*bytes) : std::nullopt;
        if (!manifest) continue;
        const auto some = XcodeLogs::activities(*manifest);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace quorvik::XcodeManifest
