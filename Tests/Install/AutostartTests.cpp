#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Install/AutostartText.h"

#include <cstdlib>
#include <sstream>

namespace quorvik {

using namespace testing;
using Autostart::What;
using Platform::ServiceManager;

class AutostartTests : public TemporaryHome {
  protected:
    AutostartTests() { ::unsetenv("XDG_CONFIG_HOME"); }
    ~AutostartTests() override {
        ::unsetenv("XDG_CONFIG_HOME");
        ::setenv("PATH", path.c_str(), 1);
    }

    Program::Result autostart(const std::string& action) const {
        return Program::run(
            {programPath("quorvik-island"), "autostart", action, "--program", program.string()});
    }

    const std::string path = ::getenv("PATH");
    const std::filesystem::path program = writeProgram("100% $HOME & <x>/quorvik-island");
};

TEST_F(AutostartTests, TextsAreTakenLiterally) {
    const Autostart::Start start{program.string(), home / "it's \\ \"100%\"", "/bin:/a&b"};
    const std::string unit = Autostart::text(ServiceManager::systemd, What::app, start);
    EXPECT_NE(unit.find("ExecStart=\"" + home.string() + "/100%% $HOME & <x>/quorvik-island\" serve\n"),
              unit.npos)
        << unit;
    EXPECT_NE(unit.find("Environment=\"QUORVIK_HOME=" + home.string() + "/it's \\\\ \\\"100%%\\\"\"\n"),
              unit.npos);
    const std::string agent = Autostart::text(ServiceManager::launchd, What::app, start);
    EXPECT_NE(agent.find("/100% $HOME &amp; &lt;x&gt;/quorvik-island</string>"), agent.npos);
    EXPECT_NE(agent.find("<key>PATH</key>\n\t\t<string>/bin:/a&amp;b</string>"), agent.npos);
    for (const char* unfit : {"/a\nExecStart=/b", "/it's", "/\\", "/\""})
        EXPECT_THROW(Autostart::text(ServiceManager::systemd, What::app, {unfit, {}, ""}), EditError);

    // A desktop undoes the escapes of the file's texts first, then the quotes.
    const auto overlay = writeProgram("a \"$`\\ %f;&/quorvik-overlay",
                                      "#!/bin/sh\nprintf %s \"$QUORVIK_HOME\" >\"$HOME/ran\"\n");
    const std::string folder = home / "it's \\ \"100%\" $x `";
    const Autostart::Start hostile{overlay.string(), folder, ""};
    const std::string entry = Autostart::text(ServiceManager::systemd, What::overlay, hostile);
    EXPECT_NE(entry.find(R"(/a \\"\\$\\`\\\\ %%f;&/quorvik-overlay")"), entry.npos) << entry;
    if (Program::run({"sh", "-c", "command -v gio"}).status == 0) {
        EXPECT_EQ(Program::run({"gio", "launch", write("overlay.desktop", entry)}).status, 0);
        const auto ran = home / "ran";
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(ran) && contentOf(ran) == folder; }));
    }
    for (const char* unfit : {"/a\nExec=/b", "/a=b", "/\xFF"})
        EXPECT_THROW(Autostart::text(ServiceManager::systemd, What::overlay, {unfit, {}, ""}), EditError);

    const auto file = write("units/quorvik.service", unit).string();
    const auto verified = Program::run({"sh", "-c",
                                        "command -v systemd-analyze >/dev/null || exit 0\n"
                                        "export XDG_RUNTIME_DIR=\"$HOME\"\n"
                                        "exec systemd-analyze --user --man=no verify \"$1\"",
                                        "sh", file});
    EXPECT_EQ(verified, (Program::Result{0, "", ""}));
}

TEST_F(AutostartTests, APackagesUnitIsTheSameAndCounts) {
    // But for the remark, the program's path and the manual.
    const auto linesOf = [](const std::string& unit) {
        std::istringstream stream(unit);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);)
            if (!line.starts_with('#') && !line.starts_with("ExecStart=") &&
                !line.starts_with("Documentation="))
                lines.push_back(line);
        return lines;
    };
    const auto manager = ServiceManager::systemd;
    EXPECT_EQ(linesOf(contentOf(std::filesystem::path(QUORVIK_SOURCE_DIR) / "packaging/quorvik.service.in")),
              linesOf(Autostart::text(manager, What::app, {program.string(), {}, ""})));

    const auto wants = Autostart::link(manager, What::app);
    std::filesystem::create_directories(wants.parent_path());
    std::filesystem::create_symlink("/usr/lib/systemd/user/quorvik.service", wants);
    EXPECT_FALSE(Autostart::isInstalledHere(manager)) << "it serves another support folder";
    const Autostart::Start start = Autostart::Start::now(program.string());
    EXPECT_TRUE(Autostart::install(manager, What::app, start).changed);
    EXPECT_EQ(Autostart::state(manager, What::app, start), Autostart::State::installed);
    EXPECT_TRUE(Autostart::isInstalledHere(manager));
    EXPECT_TRUE(Autostart::uninstall(manager, What::app).changed);
    const std::string folder = ::getenv("QUORVIK_HOME");
    ::unsetenv("QUORVIK_HOME");
    EXPECT_TRUE(Autostart::isInstalledHere(manager));
    ::setenv("QUORVIK_HOME", folder.c_str(), 1);
}

TEST_F(AutostartTests, AnAgentGoesInAndOut) {
    using enum Autostart::State;
    const auto manager = ServiceManager::launchd;
    const Autostart::Start start{program.string(), {}, "/bin"};
    EXPECT_TRUE(Autostart::install(manager, What::app, start).changed);
    EXPECT_EQ(Autostart::state(manager, What::app, start), installed);
    EXPECT_EQ(Autostart::state(manager, What::app, {program.string(), {}, "/usr/bin"}), stale);
    EXPECT_EQ(namesIn(home / "Library/LaunchAgents"), std::vector<std::string>{"com.quorvik.app.plist"});
    EXPECT_TRUE(Autostart::uninstall(manager, What::app).changed);
    EXPECT_EQ(Autostart::state(manager, What::app, start), notInstalled);
    const std::string read = "import plistlib, sys\np = plistlib.loads(sys.stdin.buffer.read())\n"
                             "print(p['Label'], *p['ProgramArguments'][1:], p.get('LimitLoadToSessionType'))";
    for (const auto& [what, found] : {std::pair(What::app, "com.quorvik.app serve None\n"),
                                      std::pair(What::overlay, "com.quorvik.overlay Aqua\n")})
        EXPECT_EQ(Program::run({"python3", "-c", read}, Autostart::text(manager, what, start)),
                  (Program::Result{0, found, ""}));
}

TEST_F(AutostartTests, TheCommandWritesAUnit) {
    if (Platform::serviceManager() != ServiceManager::systemd) GTEST_SKIP();
    ::setenv(
        "PATH",
        (writeProgram("bin/systemctl", "#!/bin/sh\necho \"$@\" >>\"$HOME/told\"\n").parent_path().string() +
         ":" + path)
            .c_str(),
        1);
    ::setenv("XDG_CONFIG_HOME", (home / "config").c_str(), 1);
    const auto file = home / "config/systemd/user/quorvik.service";
    const auto wants = file.parent_path() / "default.target.wants/quorvik.service";
    EXPECT_EQ(autostart("status").output, "notInstalled\noverlay: notInstalled\n");
    EXPECT_EQ(autostart("install"), (Program::Result{0, "installed\n" + file.string() + "\n", ""}));
    EXPECT_EQ(contentOf(home / "told"), "--user daemon-reload\n");
    EXPECT_EQ(std::filesystem::read_symlink(wants), file);
    EXPECT_EQ(modeOf(file), 0600u);

    write("config/systemd/user/quorvik.service", contentOf(file) + "# mine\n");
    EXPECT_EQ(autostart("status").output, "stale\n" + file.string() + "\noverlay: notInstalled\n");
    EXPECT_TRUE(autostart("install").output.starts_with("installed\n" + file.string() + "\nbackup in "));
    EXPECT_TRUE(contentOf(support / "backups" / namesIn(support / "backups").at(0)).ends_with("# mine\n"));

    write("bin/systemctl", "#!/bin/sh\nexit 1\n");
    const auto removed = autostart("uninstall");
    EXPECT_EQ(removed.status, 0);
    EXPECT_EQ(removed.errors,
              "quorvik-island: autostart: `systemctl` was of no use; it takes effect with your "
              "next session\n");
    EXPECT_FALSE(std::filesystem::is_symlink(wants));
    EXPECT_FALSE(std::filesystem::exists(file));

    write("config/systemd/user/quorvik.service", "[Unit]\n");
    EXPECT_EQ(autostart("install"), (Program::Result{1, "",
                                                     "quorvik-island: autostart: " + file.string() +
                                                         " is not Quorvik's; it is left alone\n"}));
    EXPECT_EQ(autostart("uninstall").output, "foreign\n" + file.string() + "\n");
    EXPECT_EQ(contentOf(file), "[Unit]\n");
    std::filesystem::remove(file);
    const auto run = [](const std::vector<std::string>& words) {
        std::vector<std::string> all = {programPath("quorvik-island")};
        all.insert(all.end(), words.begin(), words.end());
        return Program::run(all);
    };
    if (!std::filesystem::exists(programPath("quorvik-overlay"))) {
        EXPECT_EQ(run({"autostart", "install", "--overlay"}).errors,
                  "quorvik-island: autostart: the overlay is not installed; it is the Debian package "
                  "quorvik-overlay, or part of a build that finds Qt 6\n");
        EXPECT_FALSE(std::filesystem::exists(file)) << "nothing was changed";
    }
    writeProgram("bin/systemctl");
    writeProgram("support/bin/quorvik-island");
    const auto overlay = writeProgram("support/bin/quorvik-overlay");
    const auto entry = home / "config/autostart/quorvik-overlay.desktop";
    const std::string both =
        "installed\n" + file.string() + "\noverlay: installed\noverlay: " + entry.string() + "\n";
    EXPECT_EQ(run({"autostart", "install", "--overlay"}), (Program::Result{0, both, ""}));
    const std::string good = contentOf(entry);
    EXPECT_NE(good.find("Exec=env \"QUORVIK_HOME=" + support.string() + "\" \"" + overlay.string() + "\"\n"),
              good.npos);
    // What the user has switched off stays so; what is outdated is renewed.
    write(entry, good + "Hidden=true\n");
    std::filesystem::remove(wants);
    EXPECT_EQ(run({"update"}).output, "everything is up to date\n");
    EXPECT_EQ(run({"autostart", "status"}).output,
              "switchedOff\n" + file.string() + "\noverlay: switchedOff\noverlay: " + entry.string() + "\n");
    EXPECT_EQ(run({"autostart", "install"}).status, 0);
    const std::string unit = contentOf(file);
    write(file, unit + "# of an older version\n");
    write(entry, good + "X=y\n");
    const std::string renewed = run({"update"}).output;
    for (const auto& [what, where] : {std::pair("autostart", file), std::pair("overlay", entry)})
        for (const std::string& line : {std::string(what) + ": renewed in " + where.string() + "\n",
                                        std::string(what) + ": backup in "})
            EXPECT_NE(renewed.find(line), renewed.npos) << renewed;
    EXPECT_EQ(contentOf(file), unit);
    EXPECT_EQ(contentOf(entry), good);
    EXPECT_EQ(run({"autostart", "uninstall", "--overlay"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(entry));
    EXPECT_EQ(run({"autostart", "install", "--overlay"}).output, both);
    EXPECT_EQ(run({"autostart", "uninstall"}).status, 0);
    EXPECT_EQ(run({"autostart", "status"}).output, "notInstalled\noverlay: notInstalled\n");
    std::filesystem::remove_all(support / "bin");
    const auto unnamed = Program::run({programPath("quorvik-island"), "autostart", "install"});
    EXPECT_TRUE(unnamed.errors.starts_with("quorvik-island: your settings will point into a build folder"));
}

} // namespace quorvik
