// SPDX-License-Identifier: MIT
#include "base/mac_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<int>;

TEST(ParseMacHex, ReadsDigitsOfEitherCase) {
    const struct {
        const char *text;
        Bytes bytes;
    } rows[] = {
        {"000000000000", {0, 0, 0, 0, 0, 0}            },
        {"ffffffffffff", {255, 255, 255, 255, 255, 255}},
        {"FFFFFFFFFFFF", {255, 255, 255, 255, 255, 255}},
        {"A0B1C2D3E4F5", {160, 177, 194, 211, 228, 245}},
        {"a0b1c2d3e4f5", {160, 177, 194, 211, 228, 245}},
        {"0123456789aB", {1, 35, 69, 103, 137, 171}    },
        {"909a9A0f0F10", {144, 154, 154, 15, 15, 16}   },
    };
    for (const auto &row : rows) {
        uint8_t mac[6] = {7, 7, 7, 7, 7, 7};
        EXPECT_EQ(ParseMacHex(row.text, mac), 1) << row.text;
        EXPECT_EQ(Bytes(mac, mac + 6), row.bytes) << row.text;
        EXPECT_TRUE(parse_mac_text(row.text, mac)) << row.text;
    }
}

// The neighbours of "0", "9", "A", "F", "a" and "f" in the character set, blanks, signs and bytes that are no ASCII.
TEST(ParseMacHex, RefusesWhatIsNoDigitAtEveryPlace) {
    for (const char wrong : std::string("/:@G`g -+xX.,\n\x7f\x80\xff")) {
        for (size_t at = 0; at < 12; ++at) {
            std::string text = "A0B1C2D3E4F5";
            text[at] = wrong;
            uint8_t mac[6] = {};
            EXPECT_EQ(ParseMacHex(text.c_str(), mac), 0) << text;
            EXPECT_FALSE(parse_mac_text(text.c_str(), mac)) << text;
        }
    }
}

TEST(ParseMacHex, StopsAtTheFirstBadPair) {
    uint8_t mac[6] = {7, 7, 7, 7, 7, 7};
    EXPECT_EQ(ParseMacHex("A0B1x2D3E4F5", mac), 0);
    EXPECT_EQ(Bytes(mac, mac + 6), Bytes({160, 177, 7, 7, 7, 7}));
}

// Each text has a memory of its own, so that a sanitizer sees a look behind its end.
TEST(ParseMacHex, StaysInsideATextThatIsTooShort) {
    for (size_t length = 0; length < 12; ++length) {
        const std::vector<char> digits(length, '1');
        std::vector<char> text(digits);
        text.push_back('\0');
        text.shrink_to_fit();
        uint8_t mac[6] = {};
        EXPECT_EQ(ParseMacHex(text.data(), mac), 0) << length;
        EXPECT_FALSE(parse_mac_text(text.data(), mac)) << length;
    }
}

TEST(ParseMacText, WantsTwelveCharacters) {
    uint8_t mac[6] = {};
    EXPECT_FALSE(parse_mac_text("", mac));
    EXPECT_FALSE(parse_mac_text("A0B1C2D3E4F", mac));
    EXPECT_TRUE(parse_mac_text("A0B1C2D3E4F5", mac));
    EXPECT_FALSE(parse_mac_text("A0B1C2D3E4F56", mac));
    EXPECT_FALSE(parse_mac_text("a0:b1:c2:d3:e4:f5", mac));
    EXPECT_FALSE(parse_mac_text(nullptr, mac));
    // Without the check of the length, a longer text passes.
    EXPECT_EQ(ParseMacHex("A0B1C2D3E4F56", mac), 1);
}

TEST(PrintMacDigits, PrintsUpperCase) {
    char text[13];
    print_mac_digits({0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5}, text);
    EXPECT_STREQ(text, "A0B1C2D3E4F5");
    print_mac_digits({0, 1, 9, 15, 16, 255}, text);
    EXPECT_STREQ(text, "0001090F10FF");
}

TEST(PrintMacText, PrintsLowerCaseWithColons) {
    char text[18];
    print_mac_text({0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5}, text);
    EXPECT_STREQ(text, "a0:b1:c2:d3:e4:f5");
    print_mac_text({0, 1, 9, 15, 16, 255}, text);
    EXPECT_STREQ(text, "00:01:09:0f:10:ff");
}

}  // namespace
