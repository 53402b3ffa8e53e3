// SPDX-License-Identifier: MIT
#include "mesh/backhaul_generator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <map>
#include <set>
#include <string>

namespace {

const std::string kLettersAndDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
const std::string kSigns = "~!@#^&*()_+{}[]:;.?";

// The noise with one byte that is not zero.
uint32_t stir_one(uint32_t start, size_t at, uint8_t value) {
    uint8_t noise[kNoiseSize] = {};
    noise[at] = value;
    return stir_noise(start, noise);
}

// Every fifth byte, the first included, is followed by a multiplication by ten: ten of them in 50 bytes. Worked out by
// hand; 10^10 is 1410065408 more than twice 2^32.
TEST(StirNoise, MultipliesAfterEveryFifthByte) {
    EXPECT_EQ(stir_one(0, 0, 0), 0U);
    EXPECT_EQ(stir_one(1, 0, 0), 1410065408U);
    EXPECT_EQ(stir_one(2, 0, 0), 2820130816U);
    EXPECT_EQ(stir_one(4294967295U, 0, 0), 2884901888U);  // -10^10
    EXPECT_EQ(stir_one(0, 0, 1), 1410065408U);            // added before the multiplication
    EXPECT_EQ(stir_one(0, 1, 1), 1000000000U);
    EXPECT_EQ(stir_one(0, 4, 1), 1000000000U);
    EXPECT_EQ(stir_one(0, 5, 1), 1000000000U);
    EXPECT_EQ(stir_one(0, 6, 1), 100000000U);
    EXPECT_EQ(stir_one(0, 45, 3), 30U);
    EXPECT_EQ(stir_one(0, 46, 3), 3U);
    EXPECT_EQ(stir_one(0, 49, 7), 7U);
}

TEST(StirNoise, TakesBytesAsUnsigned) {
    EXPECT_EQ(stir_one(0, 49, 255), 255U);
    EXPECT_EQ(stir_one(0, 45, 200), 2000U);
}

// Bytes 49 and 44 are worth 9 and 4 * 10.
TEST(StirNoise, AddsUp) {
    uint8_t noise[kNoiseSize] = {};
    noise[49] = 9;
    noise[44] = 4;
    EXPECT_EQ(stir_noise(0, noise), 49U);
    EXPECT_EQ(stir_noise(1, noise), 1410065457U);
}

// The kernel does not let the noise be read: what remains is the clock and one number of the generator.
TEST(GeneratorStart, ComesFromTheClockAndTheGenerator) {
    srand(1);
    const auto chance = static_cast<uint32_t>(rand());
    srand(1);
    const auto before = static_cast<uint32_t>(time(nullptr));
    const uint32_t start = find_generator_start();
    const auto after = static_cast<uint32_t>(time(nullptr));
    std::set<uint32_t> possible;
    for (uint32_t second = before; second <= after; ++second) {
        possible.insert((second + chance) * 1410065408U);
    }
    EXPECT_EQ(possible.count(start), 1U) << start;
}

TEST(BackhaulCredentials, HaveTheirLengthsAndCharacters) {
    for (uint32_t start = 0; start < 20000; ++start) {
        const BackhaulCredentials credentials = generate_backhaul_credentials(start * 214748U);
        const std::string ssid = credentials.ssid;
        const std::string key = credentials.key;
        ASSERT_EQ(ssid.size(), 20U) << ssid;
        ASSERT_EQ(key.size(), 30U) << key;
        ASSERT_EQ(ssid.substr(0, 11), "EasyMeshBH-");
        ASSERT_EQ(ssid.find_first_not_of(kLettersAndDigits, 11), std::string::npos) << ssid;
        ASSERT_EQ(key.find_first_not_of(kLettersAndDigits + kSigns), std::string::npos) << key;
    }
}

// 600,000 draws: each of the 83 places of the key's set comes up 7229 times or so, with a standard deviation of 84.
TEST(BackhaulCredentials, UseEveryCharacterAndTwoOfThemTwiceAsOften) {
    std::map<char, int> seen;
    std::map<char, int> seen_in_name;
    for (uint32_t start = 1; start <= 20000; ++start) {
        const BackhaulCredentials credentials = generate_backhaul_credentials(start);
        for (const char character : std::string(credentials.key)) {
            ++seen[character];
        }
        for (const char character : std::string(credentials.ssid).substr(11)) {
            ++seen_in_name[character];
        }
    }
    EXPECT_EQ(seen_in_name.size(), 62U);
    EXPECT_EQ(seen.size(), 81U);
    for (const char character : kLettersAndDigits + kSigns) {
        const int places = character == '0' || character == '.' ? 2 : 1;
        EXPECT_NEAR(seen[character], 7229 * places, 600 * places) << character;
    }
}

// The order of the sets and of the draws: the name's nine characters first, then the key's thirty.
TEST(BackhaulCredentials, FollowTheGeneratorDrawByDraw) {
    const std::string name_set = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz1234567890";
    const std::string key_set = name_set + "~!@#0^&*()_+{}[]:;..?";
    for (const uint32_t start : {0U, 1U, 1410065408U, 4294967295U}) {
        srand(start);
        std::string ssid = "EasyMeshBH-";
        for (int i = 0; i < 9; ++i) {
            ssid += name_set[static_cast<size_t>(rand() % 62)];
        }
        std::string key;
        for (int i = 0; i < 30; ++i) {
            key += key_set[static_cast<size_t>(rand() % 83)];
        }
        const BackhaulCredentials credentials = generate_backhaul_credentials(start);
        EXPECT_EQ(credentials.ssid, ssid);
        EXPECT_EQ(credentials.key, key);
    }
}

}  // namespace
