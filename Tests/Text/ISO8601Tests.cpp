#include "Tests/Support/Text.h"

#include "QuorvikCore/Text/ISO8601.h"

#include <gtest/gtest.h>

namespace quorvik {

TEST(ISO8601, ReadsInternetDateTimes) {
    const auto secondsOf = [](std::string_view text) {
        const auto moment = ISO8601::parse(text);
        return moment ? moment->time_since_epoch().count() : -1;
    };
    for (const std::string_view text :
         {"2011-01-26T19:01:12Z", "2011-01-26T21:01:12+02:00", "2011-01-26T21:01:12+0200",
          "2011-01-26T17:01:12-02", "2011-01-27T00:46:12+05:45", "2011-01-25T19:02:12-23:59"})
        EXPECT_EQ(secondsOf(text), 1296068472) << text;
    EXPECT_EQ(secondsOf("2024-02-29T23:59:59-00:00"), 1709251199);
    EXPECT_EQ(secondsOf("9999-12-31T23:59:59Z"), 253402300799);
    EXPECT_EQ(secondsOf("0000-01-01T00:00:00Z"), -62167219200);

    EXPECT_EQ(ISO8601::parseWithoutFraction("2011-01-26T19:01:12.943648+00:00"),
              ISO8601::parse("2011-01-26T19:01:12Z"));
    for (const std::string_view text :
         {"2011-01-26T19:01:12.Z", "2011-01-26T19:01.5:12Z", "2011.1-26T19:01:12Z", "."})
        EXPECT_FALSE(ISO8601::parseWithoutFraction(text)) << text;

    const std::string_view whole = "2023-03-01T10:20:30+01:00";
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(ISO8601::parse(whole.substr(0, length)).has_value(),
                  whole.substr(0, length).ends_with("+01"))
            << length;
    for (const std::string& text : testing::split(
             "2023-02-29T00:00:00Z|1900-02-29T00:00:00Z|2023-04-31T00:00:00Z|2023-13-01T00:00:00Z|2023-00-"
             "01T00:00:00Z|"
             "2023-01-00T00:00:00Z|2023-01-01T24:00:00Z|2023-01-01T23:60:00Z|2016-12-31T23:59:60Z|2023-01-"
             "01T00:00:00.0Z|"
             "2023-01-01 "
             "00:00:00Z|2023-01-01t00:00:00Z|2023-1-1T00:00:00Z|20230101T000000Z|+2023-01-01T00:00:00Z|"
             "2023-01-01T00:00:00+24:00|2023-01-01T00:00:00+01:60|2023-01-01T00:00:00-+1:00|2023-01-01T00:"
             "00Z|"
             " 2023-01-01T00:00:00Z|2023-01-01T00:00:00 UTC"))
        EXPECT_EQ(ISO8601::parse(text), std::nullopt) << text;
}

} // namespace quorvik
