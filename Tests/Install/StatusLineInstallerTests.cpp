#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/SettingsDocument.h"
#include "QuorvikCore/Install/StatusLineInstaller.h"

namespace quorvik {

using namespace testing;
using Kind = StatusLineInstaller::Status::Kind;

class StatusLineInstallerTests : public TemporaryHome {
  protected:
    // Without waiting for the second in which the last edit left a backup to be over.
    EditOutcome install(const std::string& hookPath = "/q/quorvik-hook") const {
        std::filesystem::remove_all(support / "backups");
        return StatusLineInstaller::install(HookTarget::claude(), hookPath, original);
    }
    StatusLineInstaller::Removal uninstall() const {
        std::filesystem::remove_all(support / "backups");
        return StatusLineInstaller::uninstall(HookTarget::claude(), original);
    }
    Kind status() const { return StatusLineInstaller::status(HookTarget::claude()).kind; }
    void settings(const std::string& text) const { write(".claude/settings.json", text); }
    JSONValue settings() const { return OrderedJSON::parse(contentOf(home / ".claude/settings.json")); }

    const std::filesystem::path original = StatusLineInstaller::originalFile();
    const std::string ours =
        R"({"type":"command","command":"QUORVIK_MANAGED=1 '/q/quorvik-hook' --statusline"})";
};

TEST_F(StatusLineInstallerTests, GivesTheUsersStatusLineBack) {
    for (const std::string text :
         {R"({"a":1})", R"({"statusLine":{"type":"command","command":"mine","padding":0.0},"a":1})",
          R"({"statusLine":null})", R"({"statusLine":"x"})",
          R"({"statusLine":{"command":"quorvik-hook --other"}})"}) {
        settings(text);
        const JSONValue before = settings();
        EXPECT_EQ(status(), Kind::off);
        EXPECT_TRUE(install().backup);
        EXPECT_EQ(status(), Kind::on);
        EXPECT_EQ(*settings()["statusLine"], OrderedJSON::parse(ours));
        EXPECT_EQ(std::filesystem::exists(original), before["statusLine"] != nullptr);
        install("/new/quorvik-hook"); // must not take ours for the user's
        EXPECT_TRUE(uninstall().changed);
        EXPECT_EQ(settings(), before);
        EXPECT_FALSE(contentOf(home / ".claude/settings.json").ends_with('\n'));
        EXPECT_FALSE(std::filesystem::exists(original));
        EXPECT_EQ(uninstall(), EditOutcome{});
    }
}

TEST_F(StatusLineInstallerTests, StartsFromNoFile) {
    EXPECT_EQ(uninstall(), EditOutcome{});
    EXPECT_EQ(install(), (EditOutcome{true, std::nullopt}));
    uninstall();
    EXPECT_EQ(settings(), JSONValue::object());
}

TEST_F(StatusLineInstallerTests, KeepsTheUsersUnlessItIsDamagedOrGivenUp) {
    EXPECT_EQ(StatusLineInstaller::originalCommand(original), std::nullopt);
    settings(R"({"statusLine":{"command":"mine --x"},"a":1})");
    install();
    EXPECT_EQ(StatusLineInstaller::originalCommand(original), "mine --x");
    for (const std::string text : {"", "{\"comm", "[]", "{\"command\":1}", "\"command\""})
        EXPECT_EQ(StatusLineInstaller::originalCommand(write("saved.json", text)), std::nullopt) << text;

    write("support/statusline-original.json", "{\"comm");
    const auto setAside = uninstall().setAside.value();
    EXPECT_EQ(setAside.parent_path(), support / "backups");
    EXPECT_EQ(contentOf(setAside), "{\"comm");
    EXPECT_FALSE(std::filesystem::exists(original));
    EXPECT_EQ(settings(), OrderedJSON::parse(R"({"a":1})"));

    // Only its owner gives a saved line up, not whoever takes ours out of the settings.
    const std::string first = R"({"statusLine":{"command":"first"}})";
    settings(first);
    install();
    settings("{}");
    install();
    uninstall();
    EXPECT_EQ(settings(), OrderedJSON::parse(first));
    install();
    settings(R"({"statusLine":{"command":"second"}})");
    install();
    const auto names = namesIn(support / "backups");
    ASSERT_EQ(names.size(), 2u);
    EXPECT_NE(contentOf(support / "backups" / names[1]).find("first"), std::string::npos) << names[1];
    EXPECT_EQ(StatusLineInstaller::originalCommand(original), "second");
}

TEST_F(StatusLineInstallerTests, LeavesAloneWhatItCannotReadOrWrite) {
    for (const auto& [text, why] : std::initializer_list<std::pair<std::string, std::string>>{
             {"{\"statusLine\"", "Invalid JSON near byte 13"}, {"[]", "not a JSON object"}}) {
        settings(text);
        EXPECT_EQ(StatusLineInstaller::status(HookTarget::claude()).why, why);
        EXPECT_THROW(install(), std::runtime_error);
        EXPECT_EQ(uninstall().unreadable, why);
        EXPECT_EQ(contentOf(home / ".claude/settings.json"), text);
    }
    settings("{}");
    EXPECT_THROW(install("/it's/quorvik-hook"), EditError);
    EXPECT_THROW(install("/hook"), EditError);
    write("support", ""); // where backups should go
    EXPECT_THROW(install(), std::runtime_error);
    EXPECT_EQ(contentOf(home / ".claude/settings.json"), "{}");
    EXPECT_EQ(namesIn(home / ".claude"), std::vector<std::string>{"settings.json"});
}

} // namespace quorvik
