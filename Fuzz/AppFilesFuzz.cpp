// Whatever stands in the app's own files is read: nonsense gives defaults, and what is written is read back.

#include "Fuzz/Check.h"

#include "QuorvikApp/Model/Memory.h"
#include "QuorvikApp/Model/Settings.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvik;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> problems, none;
    const Settings settings = Settings::parse(text, problems);
    nlohmann::json again = nlohmann::json::object();
    for (const SettingRule& rule : settingRules())
        again[std::string(rule.name)] = rule.get(settings);
    CHECK(Settings::parse(again.dump(), none) == settings);
    CHECK(none.empty());
    for (const std::string& problem : problems)
        CHECK(!problem.empty() && problem.find('\n') == problem.npos);

    const Memory memory = Memory::parse(text);
    CHECK(Memory::parse(memory.text()).text() == memory.text());
    return 0;
}
