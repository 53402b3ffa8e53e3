#include "base/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/input.h"
#include "base/resource.h"
#include "objects/identity.h"
#include "objects/time_zone.h"
#include "store/store.h"

namespace {

TEST(Put, ReportsWhatDoesNotFit) {
    char text[5];
    EXPECT_TRUE(put(text, "%s", "1234"));
    EXPECT_STREQ(text, "1234");
    EXPECT_FALSE(put(text, "%s", "12345"));
    EXPECT_STREQ(text, "1234");
}

TEST(StripMacColons, LeavesTwelveDigits) {
    const struct {
        const char *given;
        const char *expected;
    } rows[] = {
        {"00:11:22:AA:BB:CC",       "001122AABBCC"},
        {"",                        ""            },
        {"001122AABBCC",            "001122AABBCC"},
        {"00:11",                   "0011"        },
        {":",                       ""            },
        {"::0::1::",                "01"          },
        {"00:11:22:33:44:55:66:77", "001122334455"},
        {"0123456789abcdef",        "0123456789ab"},
    };
    for (const auto &row : rows) {
        char text[64];
        ASSERT_TRUE(put(text, "%s", row.given));
        strip_mac_colons(text);
        EXPECT_STREQ(text, row.expected) << row.given;
    }
}

TEST(StrToLower, ChangesAsciiCapitalsAlone) {
    char text[] = "AZaz09@[`{ \xc3\x84";
    str_to_lower(text);
    EXPECT_STREQ(text, "azaz09@[`{ \xc3\x84");
}

TEST(TimeZoneIndex, HasThreeToSevenCharacters) {
    EXPECT_FALSE(is_time_zone_index(""));
    EXPECT_FALSE(is_time_zone_index("12"));
    EXPECT_TRUE(is_time_zone_index("123"));
    EXPECT_TRUE(is_time_zone_index("1234567"));
    EXPECT_FALSE(is_time_zone_index("12345678"));
}

TEST(FitText, RefusesWhatLeavesNoRoomForTheTerminator) {
    char out[5] = {};
    EXPECT_TRUE(fit_text("123", out, 4));
    EXPECT_STREQ(out, "123");
    EXPECT_FALSE(fit_text("1234", out, 4));
    EXPECT_STREQ(out, "123");
}

File file_with(const std::string &content) {
    File file(tmpfile());
    fwrite(content.data(), 1, content.size(), file.get());
    rewind(file.get());
    return file;
}

std::string read_all(const std::string &content, int size) {
    const File file = file_with(content);
    std::string text(static_cast<size_t>(size), '\0');
    read_text(file.get(), text.data(), size);
    return text.c_str();
}

TEST(ReadText, EndsWithTheFileOrTheLastUsableByte) {
    EXPECT_EQ(read_all("", 8), "");
    EXPECT_EQ(read_all("ab\ncd", 8), "ab\ncd");
    EXPECT_EQ(read_all("1234567", 8), "1234567");
    EXPECT_EQ(read_all("12345678", 8), "1234567");
    EXPECT_EQ(read_all("123\n5678", 5), "123\n");
    EXPECT_EQ(read_all("x", 1), "");
}

TEST(ReadText, OverwritesWhatFollowsAZeroByte) {
    EXPECT_EQ(read_all(std::string("ab\0cd\nef", 8), 16), "abef");
    EXPECT_EQ(read_all(std::string("ab\n\0cd\nef", 9), 16), "ab\n");
}

TEST(ReadLine, ContinuesALongLineAsTheNext) {
    const File file = file_with("123456\n7");
    char line[5];
    EXPECT_TRUE(read_line(file.get(), line));
    EXPECT_STREQ(line, "1234");
    EXPECT_TRUE(read_line(file.get(), line));
    EXPECT_STREQ(line, "56\n");
    EXPECT_TRUE(read_line(file.get(), line));
    EXPECT_STREQ(line, "7");
    EXPECT_FALSE(read_line(file.get(), line));
    EXPECT_STREQ(line, "");
}

}  // namespace
