#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Text.h"

#include "QuorvikCore/Activity/BuildLogs.h"
#include "QuorvikCore/Activity/XcodeLogs.h"
#include "QuorvikCore/Activity/XcodeManifest.h"

#include <plist/plist.h>

namespace quorvik {

using testing::repeated;

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
    for (const int days : {7, std::numeric_limits<int>::max()}) {
        BuildLogs::prune(days, 50);
        EXPECT_EQ(testing::namesIn(support / "logs"),
                  (std::vector<std::string>{"almost.log", "middle.log", "new.log", "other.txt"}));
    }
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

namespace {

/// A property list as Xcode writes it, with `value` as its only value.
std::string xmlList(const std::string& value) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
)" + value +
           "\n</plist>\n";
}

std::string binaryForm(const std::string& xml) {
    plist_t list = nullptr;
    ::plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
    char* bytes = nullptr;
    std::uint32_t size = 0;
    ::plist_to_bin(list, &bytes, &size);
    ::plist_free(list);
    std::string binary(bytes, size);
    ::plist_to_bin_free(bytes);
    return binary;
}

std::string bigEndian(std::uint64_t value, int size) {
    std::string bytes;
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

/// A binary list of these objects, the first of which is its root; references take 3 bytes.
std::string binaryList(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00", offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(bytes.size(), 4);
        bytes += object;
    }
    const std::size_t table = bytes.size();
    return bytes + offsets + std::string(6, '\0') + "\x04\x03" + bigEndian(objects.size(), 8) +
           bigEndian(0, 8) + bigEndian(table, 8);
}

std::string arrayOf(std::initializer_list<std::size_t> references) {
    std::string object(1, static_cast<char>(0xA0 + references.size()));
    for (const std::size_t reference : references)
        object += bigEndian(reference, 3);
    return object;
}

std::string longArrayOf(std::size_t reference, std::size_t count) {
    return "\xAF\x12" + bigEndian(count, 4) + repeated(bigEndian(reference, 3), count);
}

} // namespace

TEST_F(BuildLogsTests, ReadsWhatXcodeWrites) {
    const std::string xml = xmlList(R"(<!-- by hand --><dict><key>logs</key><dict><key>a</key><dict>
        <key>domainType</key><string>IDETestLog</string><key>uniqueIdentifier</key><string>ü&amp;1</string>
        <key>timeStartedRecording</key><real>782000000.25</real><key>timeStoppedRecording</key><integer>782000010</integer>
        <key>schemeIdentifier-schemeName</key><string>App</string><key>primaryObservable</key><dict>
        <key>totalNumberOfErrors</key><integer>2</integer><key>totalNumberOfWarnings</key><integer>-1</integer></dict>
        <key>when</key><date>2026-01-02T03:04:05Z</date><key>raw</key><data>AAECAw==</data><key>on</key><true/>
        <key>list</key><array><string></string></array></dict></dict></dict>)");
    const Date start = dateFromSeconds(978307200 + 782000000.25),
               end = dateFromSeconds(978307200 + 782000010);
    const XcodeActivity expected{"ü&1", XcodeActivity::Kind::test, "App", start, end, "S", 2, -1, 0};
    const std::filesystem::path project = home / "App-abcdefghijklmnopqrstuvwxyzab";
    EXPECT_TRUE(XcodeManifest::activities(project).empty());
    for (const std::string& bytes : {xml, binaryForm(xml)}) {
        write(project / "Logs/Test/LogStoreManifest.plist", bytes);
        EXPECT_EQ(XcodeManifest::activities(project), std::vector{expected});
        for (std::size_t size = 0; size + 10 < bytes.size(); size += 3)
            EXPECT_FALSE(XcodeManifest::parse(bytes.substr(0, size))) << size; // cut short by a full disk
    }
    write(project / "Logs/Build/LogStoreManifest.plist", "not a list");
    EXPECT_EQ(XcodeManifest::activities(project).size(), 1);
}

TEST_F(BuildLogsTests, HostileListsAreRefused) {
    const auto nested = [](std::size_t depth) {
        return repeated("<array>", depth) + repeated("</array>", depth);
    };
    EXPECT_TRUE(XcodeManifest::parse(xmlList(nested(200))));
    EXPECT_TRUE(XcodeManifest::parse(xmlList("<array>" + repeated("<dict/>", 1000) + "</array>")));
    std::vector<std::string> deep(200, ""), bomb(60, "");
    for (std::size_t index = 0; index < deep.size(); ++index)
        deep[index] = index + 1 < deep.size() ? arrayOf({index + 1}) : arrayOf({});
    EXPECT_TRUE(XcodeManifest::parse(binaryList(deep)));
    deep.insert(deep.end() - 1, 99'800, "");
    for (std::size_t index = 199; index + 1 < deep.size(); ++index)
        deep[index] = arrayOf({index + 1});
    for (std::size_t index = 0; index < bomb.size(); ++index)
        bomb[index] = index + 1 < bomb.size() ? arrayOf({index + 1, index + 1}) : arrayOf({});
    const std::string megabyte =
        std::string("\x5F\x12") + bigEndian(1'000'000, 4) + std::string(1'000'000, 'x');

    for (const auto& [what, bytes] : std::initializer_list<std::pair<const char*, std::string>>{
             {"deep", xmlList(nested(100'000))},
             {"deeper than it looks: a comment",
              xmlList(nested(150) + "<!-- " + repeated("</array>", 150) + " -->" + nested(201))},
             {"a character data section",
              xmlList("<string><![CDATA[" + repeated("</dict>", 9) + "]]></string>")},
             {"quoted tags", xmlList("<?x \"?></array></array>\" ?><array/>")},
             {"quoted tags in a tag",
              xmlList(repeated("<array a=\"</array>\">", 300) + repeated("</array>", 300))},
             {"too much to keep", xmlList("<array>" + repeated("<true/>", 500'000) + "</array>")},
             {"entities", xmlList("<string>" + repeated("&lt;", 100'000) + "</string>")},
             {"keys", xmlList("<dict>" + repeated("<key>k</key><true/>", 10'000) + "</dict>")},
             {"a document type of its own", "<!DOCTYPE plist [<!ENTITY a \"b\">]>" + xmlList("<true/>")},
             {"no list", "<plist><array></dict></plist>"},
             {"deep, binary", binaryList(deep)},
             {"many copies", binaryList(bomb)},
             {"copies of a short one",
              binaryList({arrayOf({1, 1, 1, 1, 1, 1, 1, 1, 1, 1}), longArrayOf(2, 50'000), "\x09"})},
             {"copies of a long text", binaryList({arrayOf({1, 1, 1, 1, 1, 1, 1, 1, 1, 1}),
                                                   arrayOf({2, 2, 2, 2, 2, 2, 2, 2, 2, 2}), megabyte})},
             {"a circle", binaryList({arrayOf({1}), arrayOf({0})})},
             {"itself", binaryList({arrayOf({0})})},
             {"no such object", binaryList({arrayOf({7})})},
             {"more elements than bytes", binaryList({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})},
             {"a count that is none", binaryList({"\xAF\x52"})},
             {"a key with a NUL",
              binaryList({std::string("\xD1\0\0\1\0\0\1", 7), std::string("\x53k\0y", 4)})},
             {"nothing", binaryList({})},
             {"a header only", "bplist00"}})
        EXPECT_FALSE(XcodeManifest::parse(bytes)) << what;
}

} // namespace quorvik
