// SPDX-License-Identifier: MIT
#include "store/table.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/arpcheck.h"
#include "platform/wifi_driver.h"

// Records byte by byte, at offsets written down independently of the structures, and numbers likewise.

namespace {

template <typename Record>
std::string bytes_of(const Record &record) {
    return std::string(reinterpret_cast<const char *>(&record), sizeof record);
}

template <size_t Size>
void fill(char (&field)[Size], char value) {
    memset(field, value, Size);
}

template <size_t Size>
void fill(uint8_t (&field)[Size], char value) {
    memset(field, value, Size);
}

uint32_t word_at(const std::string &bytes, size_t offset) {
    uint32_t word = 0;
    memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

TEST(MacFilterEntry, LiesInMemoryAsTheStoreKeepsIt) {
    MacFilterEntry entry = {};
    fill(entry.mac, 'm');
    fill(entry.comment, 'c');
    fill(entry.time, 't');
    entry.week = 'w';
    EXPECT_EQ(bytes_of(entry), std::string(6, 'm') + std::string(21, 'c') + std::string(10, 't') + "w");
}

TEST(SchNetAccEntry, LiesInMemoryAsTheStoreKeepsIt) {
    SchNetAccEntry entry = {};
    entry.time_control = -2;
    fill(entry.time_span, 't');
    entry.week = 'w';
    fill(entry.name, 'n');
    fill(entry.SchNetAccMac, 'm');
    EXPECT_EQ(bytes_of(entry).substr(4), std::string(14, 't') + "w" + std::string(50, 'n') + std::string(13, 'm'));
    EXPECT_EQ(word_at(bytes_of(entry), 0), 0xfffffffeU);
}

TEST(UrlFilterEntry, LiesInMemoryAsTheStoreKeepsIt) {
    UrlFilterEntry entry = {};
    fill(entry.keyword, 'k');
    entry.list = 'l';
    EXPECT_EQ(bytes_of(entry), std::string(31, 'k') + "l");
}

TEST(QosRuleEntry, LiesInMemoryAsTheStoreKeepsIt) {
    QosRuleEntry rule = {};
    fill(rule.name, 'n');
    rule.enabled = 'e';
    fill(rule.mac, 'm');
    rule.flags = 'f';
    in_addr address = {};
    inet_pton(AF_INET, "192.168.1.10", &address);
    rule.start = address;
    inet_pton(AF_INET, "192.168.1.20", &address);
    rule.end = address;
    rule.upload_limit = 4294967295U;
    rule.download_limit = 258;
    fill(rule.second_mac, 's');
    rule.protocol = 'p';
    rule.vlan_171 = 'a';
    rule.vlan_172 = 'b';
    rule.priority = 'c';
    rule.vlan_180 = 'd';
    rule.vlan_181 = 'g';

    const std::string bytes = bytes_of(rule);
    EXPECT_GE(bytes.size(), 512U);
    std::string expected(bytes.size(), '\0');
    expected.replace(0, 16, std::string(16, 'n'));
    expected[16] = 'e';
    expected.replace(17, 6, std::string(6, 'm'));
    expected[23] = 'f';
    expected.replace(27, 4, "\xc0\xa8\x01\x0a");
    expected.replace(31, 4, "\xc0\xa8\x01\x14");
    expected.replace(35, 8, bytes, 35, 8);  // numbers of the machine's byte order, below
    expected.replace(148, 6, std::string(6, 's'));
    expected[154] = 'p';
    expected[171] = 'a';
    expected[172] = 'b';
    expected[179] = 'c';
    expected[180] = 'd';
    expected[181] = 'g';
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(word_at(bytes, 35), 4294967295U);
    EXPECT_EQ(word_at(bytes, 39), 258U);
}

// The ids by which the firmware's own programs reach two of the tables.
TEST(TableIds, AreTheFirmwares) {
    EXPECT_EQ(123 + kTableRead, 32892);
    EXPECT_EQ(123 + kTableAdd, 65661);
    EXPECT_EQ(123 + kTableDelete, 131198);
    EXPECT_EQ(240 + kTableDeleteAll, 0x400F4);
}

TEST(StaInfoEntry, LiesInMemoryAsTheDriverFillsIt) {
    StaInfoEntry station = {};
    fill(station.association_id, 'a');
    fill(station.mac, 'm');
    station.state = 's';
    station.tx_rate = 't';
    station.rssi = 'i';
    station.wireless_mode = 'w';
    station.rate_flags = 'f';
    station.rx_rate = 'r';
    std::string expected(63, '\0');
    expected.replace(0, 8, "aammmmmm");
    expected[20] = 's';
    expected.replace(22, 2, "ti");
    expected.replace(52, 3, "wfr");
    EXPECT_EQ(bytes_of(station), expected);
    EXPECT_EQ(sizeof(StaInfoEntry) * kStationSlots, 4095U);
}

TEST(WifiRequests, AreTheDrivers) {
    EXPECT_EQ(kWifiNameRequest, 0x8B01);
    EXPECT_EQ(kStationTableRequest, 0x8B30);
    EXPECT_EQ(kAxPrivateRequest, 0x89F2);
}

TEST(ArpEntry, LiesInMemoryAsTheLibraryFillsIt) {
    ArpEntry entry = {};
    inet_pton(AF_INET, "192.168.1.10", &entry.ip);
    fill(entry.mac, 'm');
    fill(entry.reserved, 'r');
    EXPECT_EQ(bytes_of(entry),
              "\xc0\xa8\x01\x0a"
              "mmmmmmrr");
}

TEST(FieldText, EndsWithinTheField) {
    MacFilterEntry entry = {};
    EXPECT_STREQ(field_text(entry.comment), "");
    strcpy(entry.comment, "twenty characters ok");
    EXPECT_STREQ(field_text(entry.comment), "twenty characters ok");
    fill(entry.comment, 'c');
    fill(entry.time, 't');
    EXPECT_EQ(field_text(entry.comment), std::string(20, 'c'));
    EXPECT_EQ(entry.time[0], 't');
}

}  // namespace
