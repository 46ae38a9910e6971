#include "QuorvikCore/Text/VisibleText.h"

#include <gtest/gtest.h>

namespace quorvik {

TEST(VisibleTextTests, WhatDeceivesIsShownAsEscape) {
    struct Row {
        const char* text;
        const char* shown;
    };
    const Row rows[] = {
        {"ls -l ä 漢 👍", "ls -l ä 漢 👍"},
        {"a\tb\r\n\x1b[2J\x7f", "a\\tb\\r\\n\\x1b[2J\\x7f"},
        {"\xC2\x9B", "\\u{009B}"}, // CSI in one character
        {"a\xE2\x80\xAE\xE2\x80\x8B-\xEF\xBB\xBF", "a\\u{202E}\\u{200B}-\\u{FEFF}"},
        {"\xC2\xA0\xE2\x80\x8A\xE3\x80\x80", "\\u{00A0}\\u{200A}\\u{3000}"},
        {"\xE1\x85\x9F\xE2\xA0\x80\xE3\x85\xA4", "\\u{115F}\\u{2800}\\u{3164}"},
        {"a\xEF\xB8\x8F \xE2\x9D\xA4\xEF\xB8\x8F", "a\\u{FE0F} \xE2\x9D\xA4\xEF\xB8\x8F"}, // a heart has one
        {"\xF3\xA0\x81\xA1\xEE\x80\x80", "\\u{E0061}\\u{E000}"}, // a tag, private use
        {"\xFF"
         "a\xE2\x80",
         "\\xffa\\xe2\\x80"},
        {"\xCC\x81"
         "e\xCC\x81\xCC\x81\xCC\x81\xCC\x81",
         "\\u{0301}e\xCC\x81\xCC\x81\xCC\x81\\u{0301}"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(VisibleText::shown(row.text), row.shown);
    // The same in JSON, which reads as before.
    EXPECT_EQ(VisibleText::json(
                  "[\"a\x7F ä\xC2\x9B\xE2\x80\xAE\xF3\xA0\x81\xA1\xE2\x9D\xA4\xEF\xB8\x8F\xFF\",\n1]"),
              "[\"a\\u007f ä\\u009b\\u202e\\udb40\\udc61\xE2\x9D\xA4\xEF\xB8\x8F\xEF\xBF\xBD\",\n1]");
    // Text that only looks like an escape is told apart.
    EXPECT_EQ(VisibleText::show("\\x1b\x1b\x1b ").escapes, (std::vector<VisibleText::Range>{{4, 12}}));
}

} // namespace quorvik
