// SPDX-License-Identifier: MIT
#include "objects/wan.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <set>
#include <string>

#include "base/resource.h"
#include "kernel/interface_address.h"
#include "kernel/name_servers.h"

namespace {

TEST(ConnectionType, IsKnownForThreeNumbers) {
    const struct {
        int type;
        const char *name;
        int mtu_id;
    } rows[] = {
        {0, "static", 157},
        {1, "dhcp",   158},
        {3, "pppoe",  144},
    };
    for (const auto &row : rows) {
        const ConnectionType *connection = find_connection_type(row.type);
        ASSERT_NE(connection, nullptr) << row.type;
        EXPECT_STREQ(connection->name, row.name);
        EXPECT_EQ(connection->mtu_item.id, row.mtu_id) << row.type;
    }
    for (const int type : {-128, -1, 2, 4, 6, 16, 20, 127, 256}) {
        EXPECT_EQ(find_connection_type(type), nullptr) << type;
    }
}

TEST(ConnectionType, HasARangeOfMtus) {
    const struct {
        int type;
        int mtu;
        bool valid;
    } rows[] = {
        {0, 1399,    false},
        {0, 1400,    true },
        {0, 1500,    true },
        {0, 1501,    false},
        {1, 1279,    false},
        {1, 1280,    true },
        {1, 1500,    true },
        {1, 1501,    false},
        {3, 1359,    false},
        {3, 1360,    true },
        {3, 1492,    true },
        {3, 1493,    false},
        {3, 1500,    false},
        {0, 0,       false},
        {1, -1280,   false},
        {3, INT_MIN, false},
        {1, INT_MAX, false},
    };
    for (const auto &row : rows) {
        const ConnectionType *connection = find_connection_type(row.type);
        ASSERT_NE(connection, nullptr);
        EXPECT_EQ(is_mtu_valid(*connection, row.mtu), row.valid) << row.type << " " << row.mtu;
    }
}

TEST(WanInterface, IsPpp0ForFourTypes) {
    const std::set<int> over_ppp = {3, 4, 6, 16};
    for (int type = -128; type < 128; ++type) {
        EXPECT_STREQ(wan_interface(type), over_ppp.count(type) != 0 ? "ppp0" : "eth1") << type;
    }
}

void expect_servers(const std::string &content, const char *first, const char *second) {
    const File file(tmpfile());
    fwrite(content.data(), 1, content.size(), file.get());
    rewind(file.get());
    const NameServers servers = find_name_servers(file.get());
    EXPECT_STREQ(servers.first, first) << content;
    EXPECT_STREQ(servers.second, second) << content;
}

TEST(NameServers, AreTheFirstTwo) {
    expect_servers("", "", "");
    expect_servers("search home\noptions ndots:1\n", "", "");
    expect_servers("nameserver 1.1.1.1\n", "1.1.1.1", "");
    expect_servers("nameserver 1.1.1.1", "1.1.1.1", "");
    expect_servers("search x\nnameserver 1.1.1.1\noptions x\nnameserver 2.2.2.2\n", "1.1.1.1", "2.2.2.2");
    expect_servers("nameserver 1.1.1.1\nnameserver 2.2.2.2\nnameserver 3.3.3.3\n", "1.1.1.1", "2.2.2.2");
}

TEST(NameServers, StandBehindTheirKeywordAnywhereInALine) {
    expect_servers("# nameserver 1.1.1.1 was here\n", "1.1.1.1", "");
    expect_servers("mynameserver 1.1.1.1 nameserver 2.2.2.2\n", "1.1.1.1", "");
    expect_servers("nameserver   \t 1.1.1.1\t# ours\n", "1.1.1.1", "");
    expect_servers("nameserver\t1.1.1.1\nNameserver 2.2.2.2\nnameservers 3.3.3.3\n", "", "");
    expect_servers(std::string("nameserver 1.1.1.1\n\0nameserver 2.2.2.2\n", 39), "1.1.1.1", "");
}

TEST(NameServers, TakeAPlaceWhenEmpty) {
    expect_servers("nameserver \nnameserver 2.2.2.2\n", "", "2.2.2.2");
    expect_servers("nameserver 1.1.1.1\nnameserver \nnameserver 3.3.3.3\n", "1.1.1.1", "");
}

TEST(NameServers, AreCutAtFifteenCharacters) {
    expect_servers("nameserver 123.123.123.123\nnameserver 1234567890123456\n", "123.123.123.123", "123456789012345");
    expect_servers("nameserver fe80:1234:5678::1%br0\n", "fe80:1234:5678:", "");
    expect_servers("nameserver " + std::string(65536, 'x') + "\nnameserver 2.2.2.2\n", "xxxxxxxxxxxxxxx", "2.2.2.2");
}

TEST(NameServers, AreReadInPiecesOfSixtyThreeCharacters) {
    const std::string server = "nameserver 1.2.3.4\n";
    expect_servers(std::string(45, '#') + server, "1.2.3.4", "");
    expect_servers(std::string(46, '#') + server, "1.2.3.", "");
    expect_servers(std::string(53, '#') + server, "", "");
    expect_servers(std::string(63, '#') + server, "1.2.3.4", "");
}

TEST(InterfaceAddress, IsTheKernels) {
    char ip[INET_ADDRSTRLEN] = {};
    char mask[INET_ADDRSTRLEN] = {};
    uint8_t mac[6] = {1, 1, 1, 1, 1, 1};
    EXPECT_TRUE(read_interface_ip("lo", ip));
    EXPECT_TRUE(read_interface_mask("lo", mask));
    EXPECT_TRUE(read_interface_mac("lo", mac));
    EXPECT_STREQ(ip, "127.0.0.1");
    EXPECT_STREQ(mask, "255.0.0.0");
    const uint8_t none[6] = {};
    EXPECT_EQ(memcmp(mac, none, sizeof mac), 0);
}

TEST(InterfaceAddress, StaysUntouchedWithoutTheInterface) {
    const std::string long_name(65536, 'x');
    for (const char *interface : {"nosuchinterface", "", long_name.c_str()}) {
        char ip[INET_ADDRSTRLEN] = "kept";
        char mask[INET_ADDRSTRLEN] = "kept";
        uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
        testing::internal::CaptureStderr();
        EXPECT_FALSE(read_interface_ip(interface, ip));
        EXPECT_FALSE(read_interface_mask(interface, mask));
        EXPECT_FALSE(read_interface_mac(interface, mac));
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("ioctl error!\n: "), 0U);
        EXPECT_STREQ(ip, "kept");
        EXPECT_STREQ(mask, "kept");
        EXPECT_EQ(mac[0], 1);
        EXPECT_EQ(mac[5], 6);
    }
}

}  // namespace
