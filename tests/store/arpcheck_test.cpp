// SPDX-License-Identifier: MIT
// libarpcheck.so over tables that the kernel would write, and ones that it would not.

#include "platform/arpcheck.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/store/router.h"

namespace {

constexpr char kHead[] = "IP address       HW type     Flags       HW address            Mask     Device\n";

std::string line(const std::string &ip, const std::string &flags, const std::string &mac, const std::string &device) {
    return ip + "     0x1         " + flags + "         " + mac + "     *        " + device + "\n";
}

// Reads a table as the library does, in a process whose kernel has this one. A REQUIRE of `look` decides.
void with_table(const std::string &table, const std::function<void(const std::vector<ArpEntry> &)> &look) {
    Router router("");
    write_file(router.path("/proc/net/arp"), table);
    EXPECT_EQ(router.run([&] {
        // What lies behind the room for the entries must stay as it is.
        std::vector<ArpEntry> entries(kArpEntryLimit + 8);
        memset(entries.data(), 0x5a, entries.size() * sizeof(ArpEntry));
        ArpEntry untouched;
        memset(&untouched, 0x5a, sizeof(untouched));
        int count = get_proc_arp_list("br0", entries.data());
        REQUIRE(count >= 0 && count <= kArpEntryLimit);
        for (auto i = static_cast<size_t>(count); i < entries.size(); i++) {
            REQUIRE(memcmp(&entries[i], &untouched, sizeof(untouched)) == 0);
        }
        entries.resize(static_cast<size_t>(count));
        look(entries);
    }),
              0);
}

void expect_count(const std::string &table, size_t count) {
    SCOPED_TRACE(table.substr(0, 300));
    with_table(table, [=](const std::vector<ArpEntry> &entries) { REQUIRE(entries.size() == count); });
}

TEST(ArpList, HasTheCompleteEntriesOfTheBridge) {
    with_table(kHead + line("192.168.1.10", "0x2", "00:11:22:aa:bb:cc", "br0") +
                   line("192.168.1.11", "0x0", "00:00:00:00:00:00", "br0") +  // asked for, no answer
                   line("10.0.0.1", "0x2", "00:11:22:aa:bb:cd", "eth1") +     // another interface
                   line("192.168.1.12", "0x6", "00:11:22:AA:BB:CE", "br0") +  // permanent
                   line("192.168.1.13", "0x2", "00:11:22:aa:bb:cf", "br01"),
               [](const std::vector<ArpEntry> &entries) {
                   REQUIRE(entries.size() == 2);
                   REQUIRE(entries[0].ip == inet_addr("192.168.1.10"));
                   REQUIRE(memcmp(entries[0].mac, "\x00\x11\x22\xaa\xbb\xcc\0\0", 8) == 0);
                   REQUIRE(entries[1].ip == inet_addr("192.168.1.12"));
                   REQUIRE(memcmp(entries[1].mac, "\x00\x11\x22\xaa\xbb\xce\0\0", 8) == 0);
               });
}

TEST(ArpList, IsCutAtItsLimit) {
    std::string table = kHead;
    for (int i = 0; i < 400; i++) {
        table +=
            line("10.0." + std::to_string(i / 200) + "." + std::to_string(i % 200), "0x2", "00:11:22:33:44:55", "br0");
        if (i + 1 == kArpEntryLimit - 1 || i + 1 == kArpEntryLimit || i + 1 == kArpEntryLimit + 1) {
            expect_count(table, static_cast<size_t>(std::min<int>(i + 1, kArpEntryLimit)));
        }
    }
    expect_count(table, kArpEntryLimit);
}

TEST(ArpList, IsEmptyWithoutAnyEntry) {
    expect_count("", 0);
    expect_count(kHead, 0);
    Router router("");
    EXPECT_EQ(router.run([] {
        ArpEntry entries[kArpEntryLimit];
        REQUIRE(get_proc_arp_list("br0", entries) == 0);
    }),
              0);
}

TEST(ArpList, LeavesOutWhatIsNoEntry) {
    const std::string good = line("192.168.1.10", "0x2", "00:11:22:aa:bb:cc", "br0");
    for (const std::string &bad : {
             line("192.168.1.256", "0x2", "00:11:22:aa:bb:cc", "br0"),
             line("192.168.1", "0x2", "00:11:22:aa:bb:cc", "br0"),
             line("192.168.100.1000", "0x2", "00:11:22:aa:bb:cc", "br0"),
             line("192.168.1.1", "0x2", "00:11:22:aa:bb", "br0"),
             line("192.168.1.1", "0x2", "00:11:22:aa:bb:cc:dd", "br0"),
             line("192.168.1.1", "0x2", "00:11:22:aa:bb:gg", "br0"),
             line("192.168.1.1", "0x2", "001122aabbcc", "br0"),
             line("192.168.1.1", "0x2", "-1:-1:-1:-1:-1:-1", "br0"),
             line("192.168.1.1", "2", "00:11:22:aa:bb:cc", "br0"),
             line("192.168.1.1", "0xzz", "00:11:22:aa:bb:cc", "br0"),
             line("192.168.1.1", "0x2", "00:11:22:aa:bb:cc", ""),
             line("192.168.1.1", "0x2", "00:11:22:aa:bb:cc", std::string(300, 'b')),
             line(std::string(5000, '1'), "0x2", "00:11:22:aa:bb:cc", "br0"),
             line("1.1.1.1", "0x2", std::string(100000, 'a'), "br0"),
             std::string(255, ' ') + good,  // no entry of its own behind what is cut off
             std::string("\n\n\n"),
             std::string(1000, '\0') + "\n",
             std::string("%s%n%s%n\n"),
             std::string("192.168.1.1 0x1 0x2 00:11:22:aa:bb:cc *"),
         }) {
        expect_count(kHead + bad, 0);
        expect_count(kHead + good + bad, 1);
    }
    expect_count(good.substr(0, good.size() - 1), 1);  // the last line without its end
}

TEST(ArpList, StandsNoise) {
    Random random(7);
    const char alphabet[] = "0123456789abcdef:.x \n\t*brBR-%\0\xff";
    for (int i = 0; i < 50; i++) {
        std::string table;
        for (size_t k = random.below(20000); k > 0; k--) {
            table += alphabet[random.below(sizeof(alphabet) - 1)];
        }
        with_table(table, [](const std::vector<ArpEntry> &) {});
    }
}

ArpEntry make(uint32_t ip, const char *mac) {
    ArpEntry entry = {ip, {}, {}};
    memcpy(entry.mac, mac, sizeof(entry.mac));
    return entry;
}

bool has(const ArpEntry &entry, uint32_t ip, const char *mac) {
    return entry.ip == ip && memcmp(entry.mac, mac, sizeof(entry.mac)) == 0;
}

TEST(ArpDuplicates, KeepTheFirstEntryOfAMac) {
    ArpEntry entries[] = {make(1, "aaaaaa"), make(2, "bbbbbb"), make(3, "aaaaaa"), make(4, "\0\0\0\0\0\0"),
                          make(5, "aaaaaa"), make(6, "bbbbbb"), make(7, "cccccc"), make(8, "\0\0\0\0\0\0")};
    deal_arp_list_dup_client(entries, 8);
    EXPECT_TRUE(has(entries[0], 1, "aaaaaa"));
    EXPECT_TRUE(has(entries[1], 2, "bbbbbb"));
    EXPECT_TRUE(has(entries[2], 3, "\0\0\0\0\0\0"));
    EXPECT_TRUE(has(entries[3], 4, "\0\0\0\0\0\0"));
    EXPECT_TRUE(has(entries[4], 5, "\0\0\0\0\0\0"));
    EXPECT_TRUE(has(entries[5], 6, "\0\0\0\0\0\0"));
    EXPECT_TRUE(has(entries[6], 7, "cccccc"));
    EXPECT_TRUE(has(entries[7], 8, "\0\0\0\0\0\0"));
}

TEST(ArpDuplicates, OfNothingAreNothing) {
    ArpEntry entry = make(1, "aaaaaa");
    for (int count : {0, -1, 1}) {
        deal_arp_list_dup_client(&entry, count);
        EXPECT_TRUE(has(entry, 1, "aaaaaa"));
    }
    deal_arp_list_dup_client(nullptr, 0);
}

}  // namespace
