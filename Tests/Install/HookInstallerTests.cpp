#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Platform/FileError.h"

#include <sys/stat.h>
#ifdef __linux__
#include <sys/syscall.h>
#include <sys/xattr.h>
#endif
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>

namespace quorvik {

using namespace testing;
using Decision = UserFileEdit::Decision;
using Kind = HookInstaller::Status::Kind;

class HookInstallerTests : public TemporaryHome {
  protected:
    using Names = std::vector<std::string>;

    Kind status(const HookTarget& target) const { return HookInstaller::status(target, hook.string()).kind; }
    EditOutcome install(const HookTarget& target) const {
        return HookInstaller::install(target, hook.string());
    }
    /// Without waiting for the second in which the last edit left a backup to be over.
    EditOutcome uninstall(const HookTarget& target) const {
        std::filesystem::remove_all(support / "backups");
        return HookInstaller::uninstall(target);
    }
    Names backups() const { return namesIn(support / "backups"); }

    const std::filesystem::path hook = writeProgram("support/bin/quorvik-hook");
};

TEST_F(HookInstallerTests, TargetsFollowTheHomeFolder) {
    EXPECT_EQ(HookTarget::claude().fileURL, home / ".claude/settings.json");
    EXPECT_FALSE(HookTarget::target(Source::build));
    for (const Source source : agentSources()) {
        const HookTarget target = HookTarget::target(source).value();
        const bool asks = supportsApprovals(source) || source == Source::grok;
        EXPECT_EQ(target.blockingEvents.size(), asks ? 1u : 0u);
        for (const std::string& event : target.blockingEvents)
            EXPECT_EQ(std::ranges::count(target.events, event), 1);
    }
}

// Settings as people have them; each must be given back as the same document.
TEST_F(HookInstallerTests, GivesRealSettingsBack) {
    const std::pair<HookTarget, std::string> cases[] = {
        {HookTarget::claude(), R"({
  "$schema": "https://json.schemastore.org/settings.json",
  "permissions": { "allow": ["Bash(npm run test:*) "], "deny": [] },
  "env": { "A": "é/\u0041" }, "cleanupPeriodDays": 30.0,
  "hooks": {
    "PreToolUse": [{ "matcher": "Bash", "hooks": [{ "type": "command", "command": "~/check.sh" }] }],
    "Stop": [{ "hooks": [{ "type": "command", "command": "say done", "timeout": 9 }] }]
  }
}
)"},
        {HookTarget::codex(), R"({"hooks":{"Stop":[{"hooks":[{"type":"command","command":"notify"}]}]}})"},
        {HookTarget::commandCode(), "{\n\t\"theme\": \"dark\",\n\t\"hooks\": {}\n}\n"},
        {HookTarget::grok(), R"({"hooks":{"Stop":[{"hooks":[{"command":"mine"}]}]}})"},
    };
    for (const auto& [target, text] : cases) {
        write(target.fileURL, text);
        EXPECT_EQ(status(target), Kind::notInstalled);
        EXPECT_TRUE(install(target).backup);
        EXPECT_EQ(status(target), Kind::installed);
        EXPECT_TRUE(uninstall(target).changed);
        // An event whose list is empty is not written back, whoever emptied it.
        JSONValue before = OrderedJSON::parse(text), after = OrderedJSON::parse(contentOf(target.fileURL));
        before.valueAt({"hooks"})->setMember("Stop", std::nullopt);
        after.valueAt({"hooks"})->setMember("Stop", std::nullopt);
        EXPECT_EQ(after, before) << contentOf(target.fileURL);
        EXPECT_EQ(contentOf(target.fileURL).ends_with('\n'), text.ends_with('\n'));
        EXPECT_EQ(uninstall(target), EditOutcome{});
    }
}

TEST_F(HookInstallerTests, NeedsAProgramThatCanBeRunAndFoundAgain) {
    const HookTarget target = HookTarget::pi();
    install(target);
    ::chmod(hook.c_str(), 0644);
    EXPECT_EQ(status(target), Kind::stale);
    for (const std::string path : {"/opt/hook", "/a\n/quorvik-hook", "/\xff/quorvik-hook", ""})
        EXPECT_THROW(HookInstaller::install(HookTarget::codex(), path), EditError) << path;
    EXPECT_EQ(namesIn(home / ".codex"), Names{});
}

TEST_F(HookInstallerTests, KeepsLinksAndPermissions) {
    const auto real = write("dotfiles/claude.json", "{}");
    ::chmod(real.c_str(), 0640);
    const HookTarget target = HookTarget::claude();
    std::filesystem::create_directories(target.fileURL.parent_path());
    std::filesystem::create_symlink("../dotfiles/claude.json", target.fileURL);
#ifdef __linux__
    // The list: version 2; then for the owner, user 12, the group, the mask and others: kind, permissions,
    // who.
    const std::pair<const char*, std::string> attributes[] = {
        {"user.tag", "mine"},
        {"system.posix_acl_access",
         {"\2\0\0\0\1\0\6\0\377\377\377\377\2\0\4\0\14\0\0\0\4\0\0\0\377\377\377\377\20\0\4\0\377\377\377\377"
          "\40\0\0\0\377\377\377\377",
          44}}};
    for (const auto& [name, value] : attributes)
        ::setxattr(real.c_str(), name, value.data(), value.size(), 0);
    const auto values = [&] { // empty where the file system has no such thing
        std::vector<std::string> found;
        for (const auto& [name, value] : attributes) {
            std::string bytes(100, '\0');
            const ssize_t size = ::getxattr(real.c_str(), name, bytes.data(), bytes.size());
            found.push_back(bytes.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0))));
        }
        return found;
    };
    const auto before = values();
    // What cannot be told to be no link is not replaced.
    const auto refused = Program::run({programPath("quorvik-island"), "hooks", "install", "claude"}, "",
                                      [] { refuse(SYS_readlink, EIO); });
    // A sanitizer has its own say, since it cannot follow the link to the program either.
    EXPECT_TRUE(refused.status == 77 ||
                refused.errors.ends_with("quorvik-island: claude: could not follow " +
                                         target.fileURL.string() + ": Input/output error\n"))
        << refused;
    std::filesystem::remove_all(support / "backups");
#endif
    install(target);
    EXPECT_EQ(std::filesystem::read_symlink(target.fileURL), "../dotfiles/claude.json");
    EXPECT_EQ(status(target), Kind::installed);
#ifdef __linux__
    EXPECT_EQ(values(), before);
#endif
    EXPECT_EQ(modeOf(real), 0640u);
    EXPECT_EQ(namesIn(real.parent_path()), Names{"claude.json"});

    // A link to a file that is not there yet is where the file belongs.
    const HookTarget devin = HookTarget::devin();
    std::filesystem::create_directories(devin.fileURL.parent_path());
    std::filesystem::create_symlink(home / "new/devin.json", devin.fileURL);
    install(devin);
    EXPECT_TRUE(std::filesystem::is_symlink(devin.fileURL));
    EXPECT_EQ(modeOf(home / "new/devin.json"), 0600u);
    EXPECT_EQ(modeOf(home / "new"), 0700u);

    if (::getuid() == 0) {
        ASSERT_EQ(::chown(real.c_str(), 12, 34), 0);
        uninstall(target);
        struct stat found {};
        ASSERT_EQ(::stat(real.c_str(), &found), 0);
        EXPECT_EQ(std::tuple(found.st_uid, found.st_gid, found.st_mode & 07777), std::tuple(12, 34, 0640));
    }

    std::filesystem::create_directories(home / ".qwen");
    std::filesystem::create_symlink("settings.json", HookTarget::qwen().fileURL);
    EXPECT_EQ(status(HookTarget::qwen()), Kind::unreadable);
    EXPECT_THROW(install(HookTarget::qwen()), FileError);
}

TEST_F(HookInstallerTests, TellsWhyAFileCannotBeRead) {
    write(".claude/settings.json", "{\"a\":}");
    EXPECT_EQ(HookInstaller::status(HookTarget::claude(), hook.string()),
              (HookInstaller::Status{Kind::unreadable, "Invalid JSON near byte 5"}));
    EXPECT_THROW(install(HookTarget::claude()), JSONParseError);
    EXPECT_THROW(HookInstaller::uninstall(HookTarget::claude()), JSONParseError);
    EXPECT_EQ(contentOf(home / ".claude/settings.json"), "{\"a\":}");

    std::filesystem::create_directories(HookTarget::codex().fileURL);
    write(".kimi/config.toml", "\xff");
    ::mkfifo((write(".qwen/x", "").parent_path() / "settings.json").c_str(), 0600);
    for (const auto& [target, why] : std::initializer_list<std::pair<HookTarget, std::string>>{
             {HookTarget::codex(),
              "could not read " + (home / ".codex/hooks.json").string() + ": Is a directory"},
             {HookTarget::kimi(), "not UTF-8"},
             {HookTarget::qwen(),
              "could not read " + (home / ".qwen/settings.json").string() + ": Invalid argument"}})
        EXPECT_EQ(HookInstaller::status(target, hook.string()).why, why);
    EXPECT_EQ(backups(), Names{});
}

TEST_F(HookInstallerTests, FailsCleanlyWhenTheDiskIsFull) {
    const auto file = write(".codex/hooks.json", "{}\n");
    ::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t bytes : {1000u, 1u}) { // not even the backup
        limitFileSize(bytes);
        EXPECT_THROW(install(HookTarget::codex()), FileError);
        EXPECT_THROW(install(HookTarget::pi()), FileError);
        limitFileSize(RLIM_INFINITY);
        EXPECT_EQ(contentOf(file), "{}\n");
        EXPECT_EQ(namesIn(home / ".codex"), Names{"hooks.json"});
        EXPECT_EQ(namesIn(home / ".pi/agent/extensions"), Names{});
    }
}

TEST_F(HookInstallerTests, StartsOverWhenAnAgentWritesMeanwhile) {
    const auto file = write("settings.json", "0");
    int calls = 0;
    const auto rewriteTwice = [&](const UserFileEdit::Content& text) {
        if (++calls < 3) write("settings.json", std::to_string(calls)); // of the same size
        return Decision::write(text.value_or("none") + " and ours");
    };
    EXPECT_EQ(UserFileEdit::edit(file, rewriteTwice, {}), (EditOutcome{true, std::nullopt}));
    EXPECT_EQ(contentOf(file), "2 and ours");

    const auto agentCreatesAndRemoves = [&](const UserFileEdit::Content& text) {
        if (text) return std::filesystem::remove(file), Decision::write("lost");
        if (++calls < 5) write("settings.json", "theirs");
        return text ? Decision::keep() : Decision::write("ours alone");
    };
    UserFileEdit::edit(file, agentCreatesAndRemoves, {});
    EXPECT_EQ(contentOf(file), "ours alone");

    int writes = 0;
    const auto restless = [&](const UserFileEdit::Content&) {
        write("settings.json", "write " + std::to_string(++writes));
        return writes % 2 ? Decision::write("ours") : Decision::remove();
    };
    try {
        UserFileEdit::edit(file, restless, {});
        ADD_FAILURE();
    } catch (const EditError& error) {
        EXPECT_EQ(error.what(), file.string() + " keeps changing; nothing was written");
    }
    EXPECT_EQ(contentOf(file), "write " + std::to_string(writes));
    EXPECT_EQ(namesIn(home), (Names{"settings.json", "support"}));
}

TEST_F(HookInstallerTests, EveryEditLeavesItsBackupAndNothingElse) {
    const auto file = write(".codex/hooks.json", "{}");
    struct Other {
        std::string name;
        int age; // seconds
        bool stays;
    };
    const Other others[] = {{".codex/hooks.json.1.quorvik.tmp", 61, false},
                            {".codex/hooks.json.2.quorvik.tmp", 0, true},
                            {".codex/hooks.json.quorvik.tmp", 61, true},
                            {".codex/other.json.1.quorvik.tmp", 61, true},
                            {"support/backups/codex-hooks.json.2020.bak.1.quorvik.tmp", 61, false}};
    for (const auto& [name, age, stays] : others)
        std::filesystem::last_write_time(write(name, ""), std::filesystem::file_time_type::clock::now() -
                                                              std::chrono::seconds(age));
    const EditOutcome first = install(HookTarget::codex()), again = install(HookTarget::codex());
    EXPECT_FALSE(first.isSame);
    EXPECT_TRUE(again.isSame);
    EXPECT_EQ(contentOf(*first.backup), "{}");
    EXPECT_EQ(contentOf(*again.backup), contentOf(file)); // a second later
    EXPECT_EQ(backups().size(), 2u);
    for (const auto& [name, age, stays] : others)
        EXPECT_EQ(std::filesystem::exists(home / name), stays) << name;
}

TEST_F(HookInstallerTests, KeepsTheFiveNewestBackupsOfEachFile) {
    const auto now = std::filesystem::file_time_type::clock::now();
    for (int age = 1; age <= 7; ++age) { // names say nothing about the age
        const auto old =
            write("support/backups/kimi-config.toml.2020-01-0" + std::to_string(age) + ".bak", "");
        std::filesystem::last_write_time(old, now - std::chrono::hours(age));
    }
    write("support/backups/qwen-settings.json.2020.bak", "");
    write("support/backups/kimi-config.toml.notes", "");
    write(".kimi/config.toml", "secret = 1\n");
    const auto backup = *install(HookTarget::kimi()).backup;
    EXPECT_EQ(contentOf(backup), "secret = 1\n");
    EXPECT_EQ(modeOf(backup), 0600u);
    EXPECT_EQ(backups(),
              (Names{"kimi-config.toml.2020-01-01.bak", "kimi-config.toml.2020-01-02.bak",
                     "kimi-config.toml.2020-01-03.bak", "kimi-config.toml.2020-01-04.bak",
                     backup.filename().string(), "kimi-config.toml.notes", "qwen-settings.json.2020.bak"}));
    EXPECT_EQ(backup.filename().string().size(),
              std::string("kimi-config.toml.2026-11-21T023556Z.bak").size());
}

} // namespace quorvik
