// SPDX-License-Identifier: MIT
// The readers of the client list whose sources can be handed to them. Those with fixed paths are tested with the
// program.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "base/records.h"
#include "clients/client_list.h"
#include "clients/leases.h"
#include "clients/stations.h"
#include "clients/switch_ports.h"
#include "clients/traffic.h"

namespace {

using Mac = uint8_t[kMacBytes];

constexpr Mac kFirst = {0x02, 0, 0, 0, 0, 0xab};
constexpr Mac kSecond = {0x02, 0, 0, 0, 0, 0xac};
constexpr Mac kThird = {0x03, 0, 0, 0, 0, 0xab};

struct Device {
    Mac mac;
    int number;
};

TEST(FindMac, FindsTheFirstOfAnAddress) {
    const Device second = {
        {2, 0, 0, 0, 0, 0xac},
        1
    };
    const Device first = {
        {2, 0, 0, 0, 0, 0xab},
        2
    };
    const Device devices[] = {second, first, first};
    EXPECT_EQ(find_mac(devices, 3, kFirst), &devices[1]);
    EXPECT_EQ(find_mac(devices, 3, kSecond), &devices[0]);
    EXPECT_EQ(find_mac(devices, 1, kFirst), nullptr);
    EXPECT_EQ(find_mac(devices, 0, kSecond), nullptr);
    EXPECT_EQ(find_mac(devices, 3, kThird), nullptr);
}

TEST(RecordList, GrowsAndKeepsItsOrder) {
    RecordList<Device> list;
    EXPECT_EQ(list.find(kFirst), nullptr);
    for (int i = 0; i < 1000; ++i) {
        list.add({
            {2, 0, 0, 0, static_cast<uint8_t>(i / 200), static_cast<uint8_t>(i % 200)},
            i
        });
    }
    list.add({
        {2, 0, 0, 0, 0, 0},
        1000
    });
    for (int i = 0; i < 1000; ++i) {
        const Mac mac = {2, 0, 0, 0, static_cast<uint8_t>(i / 200), static_cast<uint8_t>(i % 200)};
        ASSERT_NE(list.find(mac), nullptr);
        EXPECT_EQ(list.find(mac)->number, i);
    }
}

std::string rate_text(int code, int flags, int transmit = 1) {
    StaInfoEntry station = {};
    (transmit != 0 ? station.tx_rate : station.rx_rate) = static_cast<uint8_t>(code);
    (transmit != 0 ? station.rx_rate : station.tx_rate) = 0xff;  // the other one must not matter
    station.rate_flags = static_cast<uint8_t>(flags);
    char text[20] = "as it was";
    wlan_rate_text(station, text, transmit);
    return text;
}

// The data rate that the radio standard gives, in Mb/s with at most one decimal.
std::string standard_ht_rate(int mcs, bool wide, bool short_guard) {
    constexpr double kBits[] = {0.5, 1, 1.5, 2, 3, 4, 4.5, 5};  // per carrier: modulation times coding rate
    const double carriers = wide ? 108 : 52;
    const double microseconds = short_guard ? 3.6 : 4.0;  // of a symbol
    char text[20];
    snprintf(text, sizeof text, "%.1f", carriers * kBits[mcs % 8] * (mcs / 8 + 1) / microseconds);
    const std::string rate = text;
    return rate.substr(rate.size() - 2) == ".0" ? rate.substr(0, rate.size() - 2) : rate;
}

TEST(RateText, IsTheStandardsForHtButForOne) {
    for (int flags = 0; flags < 256; ++flags) {
        for (int mcs = 0; mcs < 16; ++mcs) {
            const bool wide = (flags & kRate40MHz) != 0;
            const bool short_guard = (flags & kRateShortGuard) != 0;
            const std::string rate =
                mcs == 15 && !wide && short_guard ? "144.5" : standard_ht_rate(mcs, wide, short_guard);
            EXPECT_EQ(rate_text(128 + mcs, flags), rate) << mcs << " " << flags;
            EXPECT_EQ(rate_text(128 + mcs, flags, 0), rate) << mcs << " " << flags;
        }
    }
}

TEST(RateText, IsHalfTheCodeForLegacyRates) {
    EXPECT_EQ(rate_text(0, 7), "0");
    EXPECT_EQ(rate_text(1, 0), "0.5");
    EXPECT_EQ(rate_text(2, 0), "1");
    EXPECT_EQ(rate_text(11, 0), "5.5");
    EXPECT_EQ(rate_text(108, 3), "54");
    EXPECT_EQ(rate_text(127, 4), "63.5");
}

TEST(RateText, LeavesTheTextWithoutARate) {
    for (int flags = 0; flags < 8; ++flags) {
        for (int code = 0; code < 256; ++code) {
            const bool known = code < 144 || (code >= 160 && code < 190);
            EXPECT_EQ(rate_text(code, flags) != "as it was", known) << code << " " << flags;
        }
    }
}

TEST(RateText, KnowsTheWidestOfAStationsWidths) {
    EXPECT_EQ(rate_text(160 + 29, 7), "1300");
    EXPECT_EQ(rate_text(160 + 29, 6), "1300");
    EXPECT_EQ(rate_text(160 + 29, 3), "600");
    EXPECT_EQ(rate_text(160 + 29, 0), "260");
    EXPECT_EQ(rate_text(160, 0), "6");
    EXPECT_EQ(rate_text(160 + 25, 4), "704");
}

TEST(FindLeaseName, TellsWhyThereIsNone) {
    LeaseList list = {};
    list.count = 1;
    memcpy(list.entries[0].mac, kFirst, sizeof kFirst);
    char name[66] = "as it was";
    EXPECT_EQ(cmnt_findLeaseName(nullptr, kFirst, &name), -1);
    EXPECT_EQ(cmnt_findLeaseName(&list, nullptr, &name), -1);
    EXPECT_EQ(cmnt_findLeaseName(&list, kFirst, nullptr), -1);
    EXPECT_EQ(cmnt_findLeaseName(&list, kSecond, &name), -3);
    list.count = 257;
    EXPECT_EQ(cmnt_findLeaseName(&list, kFirst, &name), -2);
    EXPECT_STREQ(name, "as it was");
    list.count = 256;
    EXPECT_EQ(cmnt_findLeaseName(&list, kFirst, &name), 0);
    EXPECT_STREQ(name, "");
}

TEST(FindLeaseName, KeepsANameWithoutAnEndInItsField) {
    LeaseList list = {};
    list.count = 1;
    LeaseEntry &lease = list.entries[0];
    memset(lease.name, 'n', sizeof lease.name);
    memset(lease.mac, 'm', sizeof lease.mac);
    memset(lease.ip, 'i', sizeof lease.ip);
    struct {
        char name[66];
        char behind[4];
    } room = {"", "fff"};
    EXPECT_EQ(cmnt_findLeaseName(&list, lease.mac, &room.name), 0);
    EXPECT_EQ(room.name, std::string(64, 'n') + "m");
    EXPECT_STREQ(room.behind, "fff");
}

// A folder that goes with the test.
class Folder {
  public:
    Folder() { EXPECT_NE(mkdtemp(path_), nullptr); }
    ~Folder() { EXPECT_EQ(system(("rm -rf " + std::string(path_)).c_str()), 0); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string path(const std::string &name) const { return std::string(path_) + "/" + name; }
    void write(const std::string &name, const std::string &content) const { std::ofstream(path(name)) << content; }

  private:
    char path_[32] = "/tmp/clients-test-XXXXXX";
};

// The command `flash` tells of one interface alone that it is one of 802.11ax.
TEST(AxInterfaces, AreKnownByTheirNameInCapitals) {
    const Folder folder;
    folder.write("flash", "#!/bin/sh\ntest \"$1 $2\" = \"get ${AX}_AX_SUPPORT\" && echo $2=${AX_SUPPORT}\n");
    ASSERT_EQ(chmod(folder.path("flash").c_str(), 0755), 0);
    const std::string path = getenv("PATH");
    setenv("PATH", (folder.path("") + ":" + path).c_str(), 1);
    const std::pair<std::string, std::string> names[] = {
        {"wlan0",             "WLAN0"            },
        {"wlan1-va3",         "WLAN1_VA3"        },
        {"abcxyz-ABCXYZ@09_", "ABCXYZ_ABCXYZ@09_"},
        {"-a-",               "_A_"              },
    };
    for (const auto &[interface, setting] : names) {
        setenv("AX", setting.c_str(), 1);
        setenv("AX_SUPPORT", "1", 1);
        EXPECT_EQ(isAxSupported(interface.c_str()), 1) << interface;
        setenv("AX_SUPPORT", "0", 1);
        EXPECT_EQ(isAxSupported(interface.c_str()), 0) << interface;
        setenv("AX", "WLAN9", 1);
        setenv("AX_SUPPORT", "1", 1);
        EXPECT_EQ(isAxSupported(interface.c_str()), 0) << interface;
    }
    setenv("PATH", path.c_str(), 1);
}

TEST(PidFromFile, IsTheNumberOfTheFirstLine) {
    const Folder folder;
    const std::string path = folder.path("pid");
    EXPECT_EQ(get_pid_from_file(path.c_str()), -1);
    const auto pid_of = [&](const std::string &content) {
        folder.write("pid", content);
        return get_pid_from_file(path.c_str());
    };
    EXPECT_EQ(pid_of("123\n"), 123);
    EXPECT_EQ(pid_of(" 42 and more\n7\n"), 42);
    EXPECT_EQ(pid_of(""), 0);
    EXPECT_EQ(pid_of("\n123\n"), 0);
    EXPECT_EQ(pid_of("none\n"), 0);
    EXPECT_EQ(pid_of("-5\n"), -5);
    EXPECT_EQ(pid_of(std::string(98, ' ') + "12\n"), 1);
    EXPECT_EQ(pid_of(std::string(99, ' ') + "12\n"), 0);
}

TEST(PidFromFile, IsNoneWhereTheFileCannotBeOpened) {
    const Folder folder;
    const std::string path = folder.path("pid");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_EQ(path.copy(address.sun_path, sizeof address.sun_path - 1), path.size());
    const int socket_file = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(socket_file, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(get_pid_from_file(path.c_str()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Read pid file error!\n");
    close(socket_file);
}

TEST(DhcpLeases, WaitForTheServerAMillisecond) {
    if (access("/var/run/udhcpd.pid", F_OK) == 0) {
        GTEST_SKIP() << "this machine has a DHCP server of its own, which would be told";
    }
    LeaseList list = {};
    const auto begin = std::chrono::steady_clock::now();
    cmnt_cgiGetDHCPLeases(&list, 1);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1));
}

TEST(WiredClient, NeedsAllArguments) {
    SwitchArp arp;
    int port = 7;
    EXPECT_EQ(cmnt_isClientfromWired(arp, nullptr, &port), 0);
    EXPECT_EQ(cmnt_isClientfromWired(arp, kFirst, nullptr), 0);
    EXPECT_EQ(port, 7);
    EXPECT_EQ(arp.state, FileState::kNotRead);
}

// A port is a character of the file, whatever its number; all others have no link.
TEST(SwitchPort, IsOneOfACharacter) {
    SwitchPorts ports;
    ports.state = FileState::kRead;
    for (SwitchPorts::Port &port : ports.ports) {
        port.link = SwitchPorts::Link::kUp;
    }
    for (const int port : {-'0', -1, 0, 9, 255 - '0'}) {
        char speed[20] = "as it was";
        EXPECT_EQ(cmnt_getEthPortStatus(ports, port, speed), 1) << port;
        EXPECT_STREQ(speed, "as it was") << port;
    }
    for (const int port : {-'0' - 1, 256 - '0', std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        char speed[20] = "as it was";
        EXPECT_EQ(cmnt_getEthPortStatus(ports, port, speed), 0) << port;
        EXPECT_STREQ(speed, "as it was") << port;
    }
}

TEST(Stations, AreNoneOfAnInterfaceThatIsNotThere) {
    StationRow rows[kMostStations] = {};
    EXPECT_EQ(wirelessClientList("none", rows), 0);
    char table[kStationTableSize];
    EXPECT_EQ(getWlStaInfo("none", table), -1);
}

struct Rates {
    int found;
    uint32_t upload;
    uint32_t download;
};

bool operator==(const Rates &one, const Rates &other) {
    return one.found == other.found && one.upload == other.upload && one.download == other.download;
}

// What the traffic file with this content says of a device.
Rates rates_of(const std::string &content, const Mac &mac) {
    TrafficFile traffic;
    traffic.file.reset(tmpfile());
    fwrite(content.data(), 1, content.size(), traffic.file.get());
    rewind(traffic.file.get());
    Rates rates = {0, 7, 8};
    rates.found = cmnt_cgi_userlist_speedtest_get(traffic, mac, &rates.upload, &rates.download);
    const Rates first = rates;
    rates = {0, 7, 8};
    rates.found = cmnt_cgi_userlist_speedtest_get(traffic, mac, &rates.upload, &rates.download);
    EXPECT_EQ(first, rates);
    return rates;
}

TEST(TrafficRates, AreThoseOfTheFirstLineThatFits) {
    const Rates none = {0, 7, 8};
    EXPECT_EQ(rates_of("", kFirst), none);
    EXPECT_EQ(rates_of("1 2 0200000000ab 10 20\n", kFirst), (Rates{1, 10, 20}));
    EXPECT_EQ(rates_of("1 2 0200000000AB 10 20", kFirst), (Rates{1, 10, 20}));
    EXPECT_EQ(rates_of("1 2 0200000000ac 1 2\n1 2 0200000000ab 3 4\n1 2 0200000000ab 5 6\n", kFirst), (Rates{1, 3, 4}));
    EXPECT_EQ(rates_of("1 2 0200000000ab 10\n1 2 0200000000ab 11 21 31\n", kFirst), (Rates{1, 11, 21}));
    EXPECT_EQ(rates_of("1 0200000000ab 10 20\n", kFirst), none);
    EXPECT_EQ(rates_of("a 2 0200000000ab 10 20\n", kFirst), none);
    EXPECT_EQ(rates_of("1 2 0200000000a 10 20\n", kFirst), none);
    EXPECT_EQ(rates_of("1 2 0200000000ab 4294967295 4294967296\n", kFirst), (Rates{1, UINT32_MAX, UINT32_MAX}));
    EXPECT_EQ(rates_of("1 2 0200000000ab 99999999999999999999999 -1\n", kFirst), (Rates{1, UINT32_MAX, UINT32_MAX}));
    // The rest of a line that is too long is a line of its own.
    EXPECT_EQ(rates_of(std::string(1022, 'x') + "1 2 0200000000ab 10 20\n", kFirst), (Rates{1, 10, 20}));
    EXPECT_EQ(rates_of(std::string(1021, 'x') + "1 2 0200000000ab 10 20\n", kFirst), none);
}

TEST(TrafficRates, NeedAFileAndAllArguments) {
    TrafficFile traffic;
    uint32_t upload = 7;
    uint32_t download = 8;
    EXPECT_EQ(cmnt_cgi_userlist_speedtest_get(traffic, kFirst, &upload, &download), 0);
    traffic.file.reset(tmpfile());
    EXPECT_EQ(cmnt_cgi_userlist_speedtest_get(traffic, nullptr, &upload, &download), 0);
    EXPECT_EQ(cmnt_cgi_userlist_speedtest_get(traffic, kFirst, nullptr, &download), 0);
    EXPECT_EQ(cmnt_cgi_userlist_speedtest_get(traffic, kFirst, &upload, nullptr), 0);
    EXPECT_EQ(upload, 7U);
    EXPECT_EQ(download, 8U);
}

// A packet filter that notes how it is called, lists these rules, and complains.
class PacketFilter {
  public:
    explicit PacketFilter(const std::string &rules) {
        folder_.write("rules", rules);
        folder_.write("calls", "");
        folder_.write("iptables", "#!/bin/sh\necho \"$*\" >>" + folder_.path("calls") + "\n[ \"$1\" != -S ] || cat " +
                                      folder_.path("rules") + "\n[ \"$1\" = -S ] || echo complaint >&2\n");
        chmod(folder_.path("iptables").c_str(), 0755);
        setenv("PATH", (folder_.path("") + ":" + path_).c_str(), 1);
    }
    ~PacketFilter() { setenv("PATH", path_.c_str(), 1); }
    PacketFilter(const PacketFilter &) = delete;
    PacketFilter &operator=(const PacketFilter &) = delete;

    std::string calls() const {
        std::stringstream text;
        text << std::ifstream(folder_.path("calls")).rdbuf();
        return text.str();
    }

  private:
    Folder folder_;
    std::string path_ = getenv("PATH");
};

TEST(AccountingRules, AreAddedWhereTheyAreMissing) {
    const PacketFilter none("");
    speedtest_add_rules("192.168.1.5");
    EXPECT_EQ(none.calls(),
              "-S speedtest\n-I speedtest -o br0 -d 192.168.1.5\n-S speedtest\n-I speedtest -i br0 -s 192.168.1.5\n");
    const PacketFilter one("-A speedtest -d 192.168.1.5/32 -o br0\n");
    speedtest_add_rules("192.168.1.5");
    EXPECT_EQ(one.calls(), "-S speedtest\n-S speedtest\n-I speedtest -i br0 -s 192.168.1.5\n");
    const PacketFilter both("-A speedtest -s 192.168.1.5/32 -i br0\n-A speedtest -d 192.168.1.5/32 -o br0\n");
    speedtest_add_rules("192.168.1.5");
    EXPECT_EQ(both.calls(), "-S speedtest\n-S speedtest\n");
    const PacketFilter no_address("");
    speedtest_add_rules(nullptr);
    EXPECT_EQ(no_address.calls(), "");
}

TEST(AccountingRules, AreChangedInSilence) {
    const PacketFilter filter("-A speedtest -d 192.168.1.5/32 -o br0\n");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    speedtest_add_rules("192.168.1.5");
    speedtest_del_rules("192.168.1.5");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(AccountingRules, AreDeleted) {
    const PacketFilter filter("");
    speedtest_del_rules("192.168.1.5");
    speedtest_del_rules(nullptr);
    EXPECT_EQ(filter.calls(), "-D speedtest -o br0 -d 192.168.1.5\n-D speedtest -i br0 -s 192.168.1.5\n");
}

TEST(ClientList, NeedsAList) {
    EXPECT_EQ(cmnt_getClientList(nullptr), -1);
}

}  // namespace
