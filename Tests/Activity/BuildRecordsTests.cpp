#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Activity/BuildLogs.h"
#include "QuorvikCore/Activity/XcodeLogs.h"

namespace quorvik {

class BuildLogsTests : public testing::TemporaryHome {};

TEST_F(BuildLogsTests, PrunesOldAndSurplusLogs) {
    BuildLogs::prune(7, 2); // no folder: nothing happens
    const auto now = std::filesystem::file_time_type::clock::now();
    const auto log = [&](const char* name, std::chrono::hours age) {
        std::filesystem::last_write_time(write(std::string("support/logs/") + name, ""), now - age);
    };
    log("new.log", std::chrono::hours(1));
    log("middle.log", std::chrono::hours(2));
    log("third.log", std::chrono::hours(3));
    log("other.txt", std::chrono::hours(24 * 30));
    BuildLogs::prune(7, 2);
    EXPECT_EQ(testing::namesIn(support / "logs"),
              (std::vector<std::string>{"middle.log", "new.log", "other.txt"}));
    log("week.log", std::chrono::hours(24 * 7 + 1));
    log("almost.log", std::chrono::hours(24 * 7 - 1));
    BuildLogs::prune(7, 50);
    EXPECT_EQ(testing::namesIn(support / "logs"),
              (std::vector<std::string>{"almost.log", "middle.log", "new.log", "other.txt"}));
    EXPECT_EQ(BuildLogs::logURL("run-1"), support / "logs/run-1.log");
}

TEST(XcodeLogs, ProjectNames) {
    const std::string hash = "abcdefghijklmnopqrstuvwxyzab";
    EXPECT_EQ(XcodeLogs::projectName("My-App-" + hash), "My-App");
    EXPECT_EQ(XcodeLogs::projectName("My-App"), "My-App");
    EXPECT_EQ(XcodeLogs::projectName("App-" + hash + "x"), "App-" + hash + "x");
    EXPECT_EQ(XcodeLogs::projectName(hash), hash);
}

TEST(XcodeLogs, ReadsBuildsAndTests) {
    const auto manifest = *parseJSON(R"({"logs": {
        "k1": {"domainType": "Xcode.IDEActivityLogDomainType.BuildLog", "title": "Build MyApp Test Kit",
               "timeStartedRecording": 100.5, "timeStoppedRecording": 130, "uniqueIdentifier": "u1",
               "primaryObservable": {"highLevelStatus": "W", "totalNumberOfErrors": 0, "totalNumberOfWarnings": 3,
                                     "totalNumberOfTestFailures": "many"}},
        "k2": {"domainType": "IDETestLog", "timeStartedRecording": 50, "timeStoppedRecording": 60,
               "schemeIdentifier-schemeName": "Tests", "primaryObservable": {"totalNumberOfTestFailures": 2}},
        "cleaned": {"domainType": "BuildLog", "title": "Clean MyApp", "timeStartedRecording": 1, "timeStoppedRecording": 2},
        "untimed": {"domainType": "BuildLog", "title": "Build", "timeStartedRecording": "1", "timeStoppedRecording": 2},
        "other": {"domainType": "SourceControlLog", "timeStartedRecording": 1, "timeStoppedRecording": 2},
        "broken": []}})");
    const auto at = [](double secondsSince2001) { return dateFromSeconds(978307200 + secondsSince2001); };
    using Kind = XcodeActivity::Kind;
    const XcodeActivity build{"u1", Kind::build, "MyApp Kit", at(100.5), at(130), "W", 0, 3, 0};
    const XcodeActivity test{"k2", Kind::test, "Tests", at(50), at(60), "S", 0, 0, 2};
    EXPECT_EQ(XcodeLogs::activities(manifest), (std::vector{test, build}));
    for (const char* odd : {"{}", "[]", R"({"logs": []})", R"({"logs": {"x": {}}})"})
        EXPECT_TRUE(XcodeLogs::activities(*parseJSON(odd)).empty()) << odd;

    EXPECT_TRUE(XcodeLogs::isNotable(test, std::chrono::hours(1)));
    EXPECT_TRUE(XcodeLogs::isNotable(build, std::chrono::duration<double>(29.5)));
    EXPECT_FALSE(XcodeLogs::isNotable(build, std::chrono::duration<double>(29.6)));
    for (const std::string status : {"E", "F"})
        EXPECT_TRUE((XcodeActivity{.status = status}.failed()));
    EXPECT_TRUE((XcodeActivity{.errors = 1}.failed()));
    EXPECT_FALSE((XcodeActivity{.status = "W", .warnings = 9}.failed()));
}

} // namespace quorvik
