// SPDX-License-Identifier: MIT
#include "login/md5.h"

#include <gtest/gtest.h>

#include <string>

#include "base/resource.h"

namespace {

std::string digest(const std::string &text) {
    const OwnedText hex(MD5_encryption(text.c_str()));
    return hex ? hex.get() : "none";
}

// The test suite of RFC 1321, A.5.
TEST(Md5, DigestsTheTextsOfTheStandard) {
    EXPECT_EQ(digest(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(digest("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(digest("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(digest("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(digest("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(digest("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(digest("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

// Around the lengths at which the padding needs another block; the expectations are md5sum's.
TEST(Md5, PadsBlocksOfEveryLength) {
    EXPECT_EQ(digest(std::string(55, 'x')), "04364420e25c512fd958a70738aa8f72");
    EXPECT_EQ(digest(std::string(56, 'x')), "668a72d5ba17f08e62dabcafad6db14b");
    EXPECT_EQ(digest(std::string(63, 'x')), "7dc2ca208106a2f703567bdff99d8981");
    EXPECT_EQ(digest(std::string(64, 'x')), "c1bb4f81d892b2d57947682aeb252456");
    EXPECT_EQ(digest(std::string(1000, 'x')), "398533d48111e9f664b1f64cb10c4b63");
}

TEST(Md5, HasNoDigestOfNoText) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(MD5_encryption(nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr().rfind("app: argument of MD5_encryption is NULL.", 0), 0U);
}

}  // namespace
