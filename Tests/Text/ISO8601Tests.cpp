#include "QuorvikCore/Text/ISO8601.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace quorvik {

TEST(ISO8601, ReadsInternetDateTimes) {
    struct Case {
        std::string_view text;
        std::int64_t seconds; ///< since 1970
    };
    for (const auto& [text, seconds] : std::initializer_list<Case>{
             {"1970-01-01T00:00:00Z", 0},
             {"2011-01-26T19:01:12Z", 1296068472},
             {"2011-01-26T21:01:12+02:00", 1296068472},
             {"2011-01-26T21:01:12+0200", 1296068472},
             {"2011-01-26T17:01:12-02", 1296068472},
             {"2011-01-27T00:46:12+05:45", 1296068472},
             {"2024-02-29T23:59:59Z", 1709251199},
             {"2000-02-29T00:00:00-00:00", 951782400},
             {"2001-01-01T00:00:00+23:59", 978307200 - 86340},
             {"0000-01-01T00:00:00Z", -62167219200},
             {"9999-12-31T23:59:59Z", 253402300799},
         })
        EXPECT_EQ(ISO8601::parse(text), std::chrono::sys_seconds(std::chrono::seconds(seconds))) << text;

    const std::string good = "2023-03-01T10:20:30+01:00";
    for (std::size_t length = 0; length < good.size(); ++length) {
        if (length == good.find('+') + 3) continue; // "+01"
        EXPECT_FALSE(ISO8601::parse(std::string_view(good).substr(0, length))) << length;
    }
    for (const std::string_view text :
         {"2023-02-29T00:00:00Z",      "1900-02-29T00:00:00Z",      "2023-04-31T00:00:00Z",
          "2023-13-01T00:00:00Z",      "2023-00-01T00:00:00Z",      "2023-01-00T00:00:00Z",
          "2023-01-01T24:00:00Z",      "2023-01-01T23:60:00Z",      "2016-12-31T23:59:60Z",
          "2023-01-01T00:00:00.000Z",  "2023-01-01 00:00:00Z",      "2023-01-01t00:00:00Z",
          "2023-01-01T00:00:00z",      " 2023-01-01T00:00:00Z",     "2023-01-01T00:00:00Z ",
          "2023-1-1T00:00:00Z",        "20230101T000000Z",          "+2023-01-01T00:00:00Z",
          "2023-01-01T00:00:00+24:00", "2023-01-01T00:00:00+01:60", "2023-01-01T00:00:00+1",
          "2023-01-01T00:00:00+01:0",  "2023-01-01T00:00:00-+1:00", "2023-01-01T00:00Z",
          "２023-01-01T00:00:00Z",     "2023-01-01T00:00:00 UTC"})
        EXPECT_FALSE(ISO8601::parse(text)) << text;
}

} // namespace quorvik
