// SPDX-License-Identifier: MIT
#include "base/text.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
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
    errno = EINTR;  // of an earlier call, which says nothing of this one
    read_text(fileno(file.get()), text.data(), size);
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

TEST(ReadText, CountsWhatIsLeftOutOfALineAgainstTheRoom) {
    // The line ends where a line without the zero byte would, and the text goes on behind it.
    EXPECT_EQ(read_all(std::string("ab\0cdefgh", 9), 8), "abgh");
    EXPECT_EQ(read_all(std::string("ab\0c\nefghijk", 12), 8), "abefghi");
}

TEST(ReadText, TakesAFileInPortions) {
    const std::string long_text(10000, 'x');
    EXPECT_EQ(read_all(long_text + "\nend", 20000), long_text + "\nend");
    EXPECT_EQ(read_all(long_text + "\nend", 9000), long_text.substr(0, 8999));
}

TEST(ReadBeginning, HoldsAsMuchAsFits) {
    char path[] = "/tmp/text_test.XXXXXX";
    const int file = mkstemp(path);
    ASSERT_EQ(write(file, "123456", 6), 6);
    close(file);
    char room[8] = "old";
    EXPECT_TRUE(read_beginning(path, room));
    EXPECT_STREQ(room, "123456");
    char little[4];
    EXPECT_TRUE(read_beginning(path, little));
    EXPECT_STREQ(little, "123");
    unlink(path);
    EXPECT_FALSE(read_beginning(path, room));
    EXPECT_STREQ(room, "");
    EXPECT_TRUE(read_beginning("/tmp", room));  // a folder can be opened and not read
    EXPECT_STREQ(room, "");
}

TEST(Join, SaysWhetherItFitted) {
    char out[6];
    EXPECT_TRUE(join(out, {"ab", "", "cde"}));
    EXPECT_STREQ(out, "abcde");
    EXPECT_FALSE(join(out, {"ab", "cdef"}));
    EXPECT_STREQ(out, "abcde");
    EXPECT_FALSE(join(out, {"abcde", "f", "g"}));
    EXPECT_STREQ(out, "abcde");
    EXPECT_TRUE(join(out, {}));
    EXPECT_STREQ(out, "");
}

TEST(Append, PutsTextsBehindWhatIsThere) {
    char out[6] = "a";
    EXPECT_TRUE(append(out, {}));
    EXPECT_STREQ(out, "a");
    EXPECT_TRUE(append(out, {"b", "", "cd"}));
    EXPECT_STREQ(out, "abcd");
    EXPECT_FALSE(append(out, {"ef"}));
    EXPECT_STREQ(out, "abcde");
    EXPECT_TRUE(append(out, {""}));
    EXPECT_FALSE(append(out, {"f"}));
    EXPECT_STREQ(out, "abcde");
}

TEST(Decimal, PrintsEveryNumber) {
    EXPECT_STREQ(Decimal(0).c_str(), "0");
    EXPECT_STREQ(Decimal(-1).c_str(), "-1");
    EXPECT_STREQ(Decimal(1029).c_str(), "1029");
    EXPECT_STREQ(Decimal(UINT32_MAX).c_str(), "4294967295");
    EXPECT_STREQ(Decimal(INT64_MAX).c_str(), "9223372036854775807");
    EXPECT_STREQ(Decimal(INT64_MIN).c_str(), "-9223372036854775808");
}

TEST(Dotted, PrintsAnAddressAsTheCLibraryDoes) {
    for (const char *address : {"0.0.0.0", "255.255.255.255", "192.168.1.10", "1.2.3.4", "100.20.3.0"}) {
        EXPECT_STREQ(Dotted(in_addr{inet_addr(address)}).c_str(), address);
    }
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
