// SPDX-License-Identifier: MIT
#include "objects/lan.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace {

in_addr address(const char *text) {
    in_addr word{};
    EXPECT_EQ(inet_pton(AF_INET, text, &word), 1) << text;
    return word;
}

bool fits(const char *ip, const char *mask, const char *start, const char *end) {
    return check_lan_range(address(ip), address(mask), address(start), address(end));
}

TEST(CheckLanRange, TakesAPoolInsideTheSubnet) {
    EXPECT_TRUE(fits("192.168.1.1", "255.255.255.0", "192.168.1.100", "192.168.1.200"));
    EXPECT_TRUE(fits("192.168.1.1", "255.255.255.0", "192.168.1.0", "192.168.1.255"));
    EXPECT_TRUE(fits("192.168.1.1", "255.255.255.128", "192.168.1.100", "192.168.1.127"));
    EXPECT_TRUE(fits("172.16.0.1", "255.255.0.0", "172.16.0.0", "172.16.255.255"));
}

TEST(CheckLanRange, WantsTheEndAboveTheStart) {
    EXPECT_TRUE(fits("192.168.1.1", "255.255.255.0", "192.168.1.100", "192.168.1.101"));
    EXPECT_FALSE(fits("192.168.1.1", "255.255.255.0", "192.168.1.100", "192.168.1.100"));
    EXPECT_FALSE(fits("192.168.1.1", "255.255.255.0", "192.168.1.200", "192.168.1.100"));
    // The first octet is the most significant.
    EXPECT_TRUE(fits("10.0.0.1", "255.0.0.0", "10.0.0.200", "10.0.1.100"));
    EXPECT_FALSE(fits("10.0.0.1", "255.0.0.0", "10.0.1.100", "10.0.0.200"));
    // A span may be larger than a signed number.
    EXPECT_TRUE(fits("1.1.1.1", "0.0.0.0", "1.0.0.0", "254.0.0.0"));
    EXPECT_FALSE(fits("1.1.1.1", "0.0.0.0", "254.0.0.0", "1.0.0.0"));
}

TEST(CheckLanRange, WantsStartAndEndInTheSubnet) {
    EXPECT_FALSE(fits("192.168.1.1", "255.255.255.0", "192.168.0.255", "192.168.1.200"));
    EXPECT_FALSE(fits("192.168.1.1", "255.255.255.0", "192.168.1.100", "192.168.2.0"));
    EXPECT_FALSE(fits("192.168.1.1", "255.255.255.0", "192.168.2.100", "192.168.2.200"));
    EXPECT_FALSE(fits("192.168.1.1", "255.255.255.128", "192.168.1.100", "192.168.1.128"));
    EXPECT_FALSE(fits("10.0.0.1", "255.255.255.0", "192.168.1.100", "192.168.1.200"));
}

// Every pool below lies in its subnet, so the room that the mask leaves decides alone: its complement, with the last
// octet as the most significant one. Most of these masks have holes.
TEST(CheckLanRange, TakesTheRoomOfAMaskLastOctetFirst) {
    EXPECT_TRUE(fits("10.0.0.0", "255.255.255.254", "10.0.0.0", "10.0.0.1"));   // 0x01000000, span 0x00000001
    EXPECT_TRUE(fits("10.0.0.1", "255.255.254.255", "10.0.0.1", "10.0.1.1"));   // 0x00010000, span 0x00000100
    EXPECT_TRUE(fits("10.0.0.1", "255.255.0.255", "10.0.0.1", "10.0.255.1"));   // 0x00FF0000, span 0x0000FF00
    EXPECT_FALSE(fits("10.0.0.1", "255.0.255.255", "10.0.0.1", "10.1.0.1"));    // 0x0000FF00, span 0x00010000
    EXPECT_FALSE(fits("10.0.0.1", "0.255.255.255", "10.0.0.1", "11.0.0.1"));    // 0x000000FF, span 0x01000000
    EXPECT_TRUE(fits("10.0.0.0", "254.255.255.254", "10.0.0.0", "11.0.0.1"));   // 0x01000001, span 0x01000001
    EXPECT_FALSE(fits("10.0.0.0", "253.255.255.254", "8.0.0.0", "10.0.0.0"));   // 0x01000002, span 0x02000000
    EXPECT_TRUE(fits("10.0.0.1", "0.0.0.127", "0.0.0.1", "128.255.255.129"));   // 0x80FFFFFF, span 0x80FFFF80
    EXPECT_FALSE(fits("10.0.0.1", "0.0.0.127", "0.0.0.1", "129.0.0.1"));        // 0x80FFFFFF, span 0x81000000
    EXPECT_TRUE(fits("10.0.0.1", "0.0.0.0", "0.0.0.0", "255.255.255.255"));     // 0xFFFFFFFF, span 0xFFFFFFFF
    EXPECT_FALSE(fits("10.0.0.1", "255.255.255.255", "10.0.0.1", "10.0.0.2"));  // 0x00000000, span 0x00000001
}

}  // namespace
