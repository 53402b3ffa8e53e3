// SPDX-License-Identifier: MIT
#include "objects/qos.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

namespace {

std::string text_of(in_addr address) {
    char text[INET_ADDRSTRLEN];
    return inet_ntop(AF_INET, &address, text, sizeof text);
}

in_addr address_of(const std::string &text) {
    in_addr address = {};
    EXPECT_EQ(inet_pton(AF_INET, text.c_str(), &address), 1) << text;
    return address;
}

TEST(ParseRange, SplitsAtTheFirstDash) {
    const struct {
        const char *text;
        const char *start;
        const char *end;
    } rows[] = {
        {"192.168.1.10-192.168.1.20",      "192.168.1.10",    "192.168.1.20"  },
        {"192.168.1.10-192.168.1.5",       "192.168.1.10",    "192.168.1.5"   },
        {"1.1.1.1-1.1.1.2",                "1.1.1.1",         "1.1.1.2"       },
        {"255.255.255.255-192.168.100.10", "255.255.255.255", "192.168.100.10"},
 // No addresses, but of their length.
        {"nothing-192.168.1.5",            "0.0.0.0",         "192.168.1.5"   },
        {"192.168.1.5-nothing",            "192.168.1.5",     "0.0.0.0"       },
        {"256.1.1.1-1.1.1.2",              "0.0.0.0",         "1.1.1.2"       },
        {"1.1.1.1-1.1.1-1",                "1.1.1.1",         "0.0.0.0"       },
        {"1.1.1.1-              ",         "1.1.1.1",         "0.0.0.0"       },
 // What stands between the dash and the end address, and behind it, is passed over if it is blank.
        {"1.1.1.1-  1.1.1.2",              "1.1.1.1",         "1.1.1.2"       },
        {"1.1.1.1-1.1.1.2 x",              "1.1.1.1",         "1.1.1.2"       },
    };
    for (const auto &row : rows) {
        AddressRange range;
        ASSERT_TRUE(parse_range(row.text, range)) << row.text;
        EXPECT_EQ(text_of(range.start), row.start) << row.text;
        EXPECT_EQ(text_of(range.end), row.end) << row.text;
    }
}

TEST(ParseRange, RefusesPartsThatHaveNotTheLengthOfAnAddress) {
    for (const char *text : {
             "",
             "-",
             "192.168.1.10",
             "192.168.1.10-",
             "-192.168.1.10",
             "1.1.1.-1.1.1.2",                   // a start of 6 characters
             "1192.168.100.100-1.1.1.2",         // and of 16
             "1.1.1.1-1.1.1",                    // an end of 5
             "1.1.1.1-192.168.100.100",          // and of 15
             "255.255.255.255-255.255.255.255",  // both as long as addresses get
             "--------",
         }) {
        AddressRange range;
        EXPECT_FALSE(parse_range(text, range)) << text;
    }
}

// Both sides of every limit, with digits that only count.
TEST(ParseRange, TakesStartsOfSevenToFifteenCharactersAndEndsOfSixToFourteen) {
    for (size_t start = 0; start <= 40; ++start) {
        for (size_t end = 0; end <= 40; ++end) {
            AddressRange range;
            const std::string text = std::string(start, '1') + "-" + std::string(end, '1');
            EXPECT_EQ(parse_range(text.c_str(), range), start >= 7 && start <= 15 && end >= 6 && end <= 14) << text;
        }
    }
}

TEST(RangesConflict, IsTheCommonOrderWithinANetwork) {
    const struct {
        const char *start;
        const char *end;
        bool conflicts;  // with 192.168.1.10 to 192.168.1.20
    } rows[] = {
        {"192.168.1.15", "192.168.1.30", true },
        {"192.168.1.21", "192.168.1.30", false},
        {"192.168.1.20", "192.168.1.30", true },
        {"192.168.1.1",  "192.168.1.9",  false},
        {"192.168.1.1",  "192.168.1.10", true },
        {"192.168.1.1",  "192.168.1.30", true },
        {"192.168.1.12", "192.168.1.13", true },
        {"192.168.1.10", "192.168.1.20", true },
 // A start behind the end: each of both lies on the same side, or the ranges are in conflict.
        {"192.168.1.9",  "192.168.1.1",  false},
        {"192.168.1.30", "192.168.1.21", false},
        {"192.168.1.30", "192.168.1.9",  true },
    };
    const AddressRange existing = {address_of("192.168.1.10"), address_of("192.168.1.20")};
    for (const auto &row : rows) {
        EXPECT_EQ(ranges_conflict({address_of(row.start), address_of(row.end)}, existing), row.conflicts)
            << row.start << "-" << row.end;
    }
}

TEST(RangesConflict, ComparesTheLastOctetFirst) {
    const AddressRange existing = {address_of("10.0.0.10"), address_of("10.0.0.20")};
    // Another network, and yet between them.
    EXPECT_TRUE(ranges_conflict({address_of("192.168.1.15"), address_of("192.168.1.16")}, existing));
    EXPECT_FALSE(ranges_conflict({address_of("192.168.1.20"), address_of("192.168.1.21")}, existing));
    EXPECT_FALSE(ranges_conflict({address_of("9.0.0.10"), address_of("9.0.0.10")}, existing));
    EXPECT_FALSE(ranges_conflict({address_of("9.255.255.9"), address_of("255.255.255.9")}, existing));
    // As unsigned numbers.
    EXPECT_FALSE(ranges_conflict({address_of("1.1.1.200"), address_of("1.1.1.255")}, existing));
}

using Octets = std::array<uint8_t, 4>;

in_addr address_of(const Octets &octets) {
    return address_of(std::to_string(octets[0]) + "." + std::to_string(octets[1]) + "." + std::to_string(octets[2]) +
                      "." + std::to_string(octets[3]));
}

// The order computed in another way: octet by octet from the last to the first, without any number of 32 bits.
bool is_below(const Octets &a, const Octets &b) {
    return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

// Whether the new range is apart from the existing one, as the rule says it: on its lower or on its upper side.
bool is_apart(const Octets &start, const Octets &end, const Octets &existing_start, const Octets &existing_end) {
    const Octets &nearer_below = is_below(start, end) ? end : start;
    const Octets &nearer_above = is_below(start, end) ? start : end;
    return is_below(nearer_below, existing_start) || is_below(existing_end, nearer_above);
}

TEST(RangesConflict, AgreesWithASecondComputation) {
    std::mt19937 random(20240607);
    int conflicts = 0;
    constexpr int kPairs = 30000;
    for (int pair = 0; pair < kPairs; ++pair) {
        // A third of the pairs anywhere, a third in one /24 network, a third with few octets, so that many are equal.
        const unsigned last = pair % 3 == 2 ? 3 : 255;
        std::uniform_int_distribution<unsigned> octet(0, last);
        std::array<Octets, 4> addresses;
        for (Octets &address : addresses) {
            for (uint8_t &value : address) {
                value = static_cast<uint8_t>(octet(random));
            }
            if (pair % 3 == 1) {
                address = {192, 168, 1, address[3]};
            }
        }
        const auto &[start, end, existing_start, existing_end] = addresses;
        const bool conflict = ranges_conflict({address_of(start), address_of(end)},
                                              {address_of(existing_start), address_of(existing_end)});
        ASSERT_EQ(conflict, !is_apart(start, end, existing_start, existing_end)) << "pair " << pair;
        conflicts += conflict ? 1 : 0;
    }
    // Neither answer is rare among them.
    EXPECT_GT(conflicts, kPairs / 10);
    EXPECT_LT(conflicts, kPairs - kPairs / 10);
}

}  // namespace
