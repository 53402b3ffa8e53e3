// SPDX-License-Identifier: MIT
// Items of every kind, as the users of libapmib.so read and write them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <lmdb.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "platform/apmib.h"
#include "platform/tables.h"
#include "tests/store/router.h"

namespace {

constexpr char kDefinitions[] = R"(
100  MIB_BYTE         byte           global     7
101  MIB_SBYTE        sbyte          global     -7
102  MIB_INT          int32          global     -100000
103  MIB_ADDRESS      ipv4           global     10.1.2.3
104  MIB_TEXT         text[8]        global     "eight"
110  MIB_WLAN_BYTE    byte           interface  1
111  MIB_WLAN_INT     int32          interface  2
  wlan1-va2                                     22
112  MIB_WLAN_TEXT    text[5]        interface  "text"
113  MIB_WLAN_ADDR    ipv4           interface  1.2.3.4
114  MIB_WLAN_SBYTE   sbyte          interface  -1
120  MIB_TABLE        table[6x5/6]   global     -
130  MIB_WLAN_TABLE   table[27x20/6] interface  -
140  MIB_FULL_TABLE   table[3x255/3] global     010203,040506
150  MIB_LONG_TABLE   table[64x100/64] global   -
32767 MIB_LAST        byte           global     9
)";

constexpr int kEntry = kTableRead;
constexpr int kAdd = kTableAdd;
constexpr int kDelete = kTableDelete;
constexpr int kDeleteAll = kTableDeleteAll;

class Items : public testing::Test {
  protected:
    Items() : router(kDefinitions) { EXPECT_EQ(router.flash({"boot"}).status, 0); }

    // Runs `work` in a process of the router that has opened the store.
    void in_router(const std::function<void()> &work) {
        EXPECT_EQ(router.run([&] {
            REQUIRE(apmib_init() != 0);
            work();
        }),
                  0);
    }

    Router router;
};

// Room around a value, to see how much of it is written.
struct Guarded {
    Guarded() { memset(bytes, 0xa5, sizeof(bytes)); }
    void *at() { return bytes + 16; }
    // Exactly these bytes were written.
    bool holds(const void *value, size_t size) const {
        return memcmp(bytes + 16, value, size) == 0 && untouched(0, 16) && untouched(16 + size, sizeof(bytes));
    }
    bool untouched(size_t from = 0, size_t to = sizeof(bytes)) const {
        for (size_t i = from; i < to; i++) {
            if (bytes[i] != 0xa5) {
                return false;
            }
        }
        return true;
    }
    uint8_t bytes[512];
};

bool reads(int id, const void *value, size_t size) {
    Guarded buffer;
    return apmib_get(id, buffer.at()) != 0 && buffer.holds(value, size);
}

bool refuses_to_read(int id, uint8_t index = 0xa5) {
    Guarded buffer;
    *static_cast<uint8_t *>(buffer.at()) = index;
    bool refused = apmib_get(id, buffer.at()) == 0 && *static_cast<uint8_t *>(buffer.at()) == index;
    *static_cast<uint8_t *>(buffer.at()) = 0xa5;
    return refused && buffer.untouched();
}

bool writes(int id, const void *value) {
    uint8_t copy[64];
    memcpy(copy, value, sizeof(copy));
    return apmib_set(id, copy) != 0;
}

TEST_F(Items, EveryKindIsReadWithItsWidth) {
    in_router([] {
        REQUIRE(reads(100, "\x07", 1));
        REQUIRE(reads(101, "\xf9", 1));
        int32_t number = -100000;
        REQUIRE(reads(102, &number, 4));
        REQUIRE(reads(103, "\x0a\x01\x02\x03", 4));
        REQUIRE(reads(104, "eight\0\0\0", 8));
        number = 2;
        REQUIRE(reads(110, "\x01", 1));
        REQUIRE(reads(111, &number, 4));
        REQUIRE(reads(112, "text\0", 5));
        REQUIRE(reads(113, "\x01\x02\x03\x04", 4));
        REQUIRE(reads(114, "\xff", 1));
        REQUIRE(reads(32767, "\x09", 1));
        number = 0;
        REQUIRE(reads(120, &number, 4));
        number = 2;
        REQUIRE(reads(140, &number, 4));
    });
}

TEST_F(Items, EveryKindIsWrittenWithItsWidth) {
    in_router([] {
        for (int value = 0; value < 256; value++) {
            auto byte = static_cast<uint8_t>(value);
            REQUIRE(apmib_set(100, &byte) != 0 && reads(100, &byte, 1));
            REQUIRE(apmib_set(101, &byte) != 0 && reads(101, &byte, 1));
        }
        for (int32_t number : {0, 1, -1, INT_MAX, INT_MIN, 65536}) {
            REQUIRE(apmib_set(102, &number) != 0 && reads(102, &number, 4));
            REQUIRE(apmib_set(103, &number) != 0 && reads(103, &number, 4));
        }
    });
}

TEST_F(Items, ATextIsStoredUpToItsEndAndPadded) {
    in_router([] {
        char seven[] = "1234567";
        REQUIRE(apmib_set(104, seven) != 0 && reads(104, "1234567\0", 8));
        // What stands behind the end of a shorter text is not stored.
        REQUIRE(writes(104, "ab\0garbage, and enough of it to fill the buffer of the caller...") &&
                reads(104, "ab\0\0\0\0\0\0", 8));
        char empty[] = "";
        REQUIRE(apmib_set(104, empty) != 0 && reads(104, "\0\0\0\0\0\0\0\0", 8));
        char bytes[] = "\xff\x01\n";
        REQUIRE(apmib_set(104, bytes) != 0 && reads(104, "\xff\x01\n\0\0\0\0\0", 8));
    });
}

TEST_F(Items, ATextIsNotReadBeyondItsEnd) {
    in_router([] {
        // The text ends with the last byte of a page behind which nothing is.
        auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        auto room = static_cast<char *>(aligned_alloc(page, 2 * page));
        REQUIRE(room != nullptr && mprotect(room + page, page, PROT_NONE) == 0);
        char *text = room + page - 3;
        memcpy(text, "ab", 3);
        REQUIRE(apmib_set(104, text) != 0 && reads(104, "ab\0\0\0\0\0\0", 8));
        // And one that is too long: seven bytes and their end would fit, eight are read and refused.
        text = room + page - 8;
        memcpy(text, "12345678", 8);
        REQUIRE(apmib_set(104, text) == 0 && reads(104, "ab\0\0\0\0\0\0", 8));
    });
}

TEST_F(Items, WhatIsRefusedChangesNothing) {
    in_router([] {
        char eight[] = "12345678";
        REQUIRE(apmib_set(104, eight) == 0 && reads(104, "eight\0\0\0", 8));
        uint8_t bytes[64] = {1};
        for (int id : {0, -1, INT_MIN, INT_MAX, 99, 105, 0x7ffe, 0x8000, 0x8001, 0x10002, 0x20003, 0x40004, 0x48004}) {
            REQUIRE(refuses_to_read(id));
            REQUIRE(apmib_set(id, bytes) == 0);
        }
        // An item that is no table has no entries; a table's count is not written.
        for (int operation : {kEntry, kAdd, kDelete, kDeleteAll}) {
            REQUIRE(refuses_to_read(102 + operation));
            REQUIRE(apmib_set(102 + operation, bytes) == 0);
        }
        REQUIRE(apmib_set(120, bytes) == 0);
        REQUIRE(apmib_set(120 + kEntry, bytes) == 0);
        REQUIRE(refuses_to_read(120 + kAdd));
        REQUIRE(refuses_to_read(120 + kDelete));
        REQUIRE(refuses_to_read(120 + kDeleteAll));
        REQUIRE(apmib_get(100, nullptr) == 0 && apmib_set(100, nullptr) == 0);
        int32_t number = 0;
        REQUIRE(reads(120, &number, 4));
    });
}

TEST_F(Items, EachInterfaceHasItsOwnValue) {
    in_router([] {
        auto value_of = [] { return 1000 + wlan_idx * 10 + vwlan_idx; };
        auto for_each_interface = [](auto work) {
            for (wlan_idx = 0; wlan_idx < 2; wlan_idx++) {
                for (vwlan_idx = 0; vwlan_idx < 6; vwlan_idx++) {
                    work();
                }
            }
        };
        for_each_interface([] {
            int32_t first = wlan_idx == 1 && vwlan_idx == 3 ? 22 : 2;
            REQUIRE(reads(111, &first, 4));
        });
        for_each_interface([&] {
            int32_t number = value_of();
            REQUIRE(apmib_set(111, &number) != 0);
            char text[5];
            snprintf(text, sizeof(text), "%d", number);
            REQUIRE(apmib_set(112, text) != 0);
        });
        for_each_interface([&] {
            int32_t number = value_of();
            char text[5] = {};
            snprintf(text, sizeof(text), "%d", number);
            REQUIRE(reads(111, &number, 4) && reads(112, text, 5));
            REQUIRE(reads(100, "\x07", 1));  // a global item is the same everywhere
        });
    });
}

TEST_F(Items, AnInterfaceThatIsNoneIsRefused) {
    in_router([] {
        int32_t number = 5;
        for (auto [radio, virtual_ap] : {
                 std::pair{2,       0      },
                 {-1,      0      },
                 {0,       6      },
                 {0,       -1     },
                 {INT_MAX, INT_MAX},
                 {1,       INT_MIN}
        }) {
            wlan_idx = radio;
            vwlan_idx = virtual_ap;
            REQUIRE(refuses_to_read(111));
            REQUIRE(apmib_set(111, &number) == 0);
            REQUIRE(reads(100, "\x07", 1));
        }
    });
}

// Reads entry `index` of a table; an empty text if that is refused.
std::string entry(int table, uint8_t index, size_t width) {
    uint8_t buffer[64] = {index};
    return apmib_get(table + kEntry, buffer) != 0 ? std::string(reinterpret_cast<char *>(buffer), width) : "";
}

int32_t count_of(int table) {
    int32_t count = -1;
    return apmib_get(table, &count) != 0 ? count : -1;
}

TEST_F(Items, ATableKeepsItsEntriesInOrder) {
    in_router([] {
        for (const char *text : {"aaaaaa", "bbbbbb", "cccccc", "bbbbbb", "\0dd\0\0\0"}) {
            char record[6];
            memcpy(record, text, sizeof(record));
            REQUIRE(apmib_set(120 + kAdd, record) != 0);
        }
        char more[] = "eeeeee";
        REQUIRE(apmib_set(120 + kAdd, more) == 0);  // full
        REQUIRE(count_of(120) == 5);
        REQUIRE(entry(120, 1, 6) == "aaaaaa" && entry(120, 4, 6) == "bbbbbb");
        REQUIRE(entry(120, 5, 6) == std::string("\0dd\0\0\0", 6));
        for (int index : {0, 6, 255}) {
            REQUIRE(refuses_to_read(120 + kEntry, static_cast<uint8_t>(index)));
        }
        // A delete takes the first equal entry, and the ones behind it move up.
        char b[] = "bbbbbb";
        REQUIRE(apmib_set(120 + kDelete, b) != 0 && count_of(120) == 4);
        REQUIRE(entry(120, 2, 6) == "cccccc" && entry(120, 3, 6) == "bbbbbb");
        char almost[] = "bbbbbB";
        REQUIRE(apmib_set(120 + kDelete, almost) == 0 && count_of(120) == 4);
        REQUIRE(apmib_set(120 + kDelete, b) != 0 && apmib_set(120 + kDelete, b) == 0);
        char unused[6] = {};
        REQUIRE(apmib_set(120 + kDeleteAll, unused) != 0 && count_of(120) == 0);
        REQUIRE(apmib_set(120 + kDeleteAll, unused) != 0);
        REQUIRE(entry(120, 1, 6).empty() && apmib_set(120 + kDelete, b) == 0);
        REQUIRE(apmib_set(120 + kAdd, more) != 0 && entry(120, 1, 6) == "eeeeee");
    });
}

TEST_F(Items, AnEntryIsWrittenWithItsWidthAlone) {
    in_router([] {
        Guarded buffer;
        char record[] = "abcdef";
        REQUIRE(apmib_set(120 + kAdd, record) != 0);
        *static_cast<uint8_t *>(buffer.at()) = 1;
        REQUIRE(apmib_get(120 + kEntry, buffer.at()) != 0 && buffer.holds("abcdef", 6));
    });
}

TEST_F(Items, ATableOfAnInterfaceDeletesByTheLeadingBytes) {
    in_router([] {
        char record[27] = "MACMACcomment";
        wlan_idx = 1;
        REQUIRE(apmib_set(130 + kAdd, record) != 0);
        wlan_idx = 0;
        REQUIRE(count_of(130) == 0 && apmib_set(130 + kDelete, record) == 0);
        wlan_idx = 1;
        REQUIRE(count_of(130) == 1 && entry(130, 1, 27) == std::string(record, 27));
        char key[27] = "MACMAC";
        REQUIRE(apmib_set(130 + kDelete, key) != 0 && count_of(130) == 0);
        for (char i = 0; i < 20; i++) {
            record[0] = i;
            REQUIRE(apmib_set(130 + kAdd, record) != 0);
        }
        REQUIRE(apmib_set(130 + kAdd, record) == 0 && count_of(130) == 20);
    });
}

TEST_F(Items, ATableOfTheLargestSizeIsReadToItsLastEntry) {
    in_router([] {
        for (int i = 3; i <= 255; i++) {
            uint8_t record[3] = {static_cast<uint8_t>(i), 0, 1};
            REQUIRE(apmib_set(140 + kAdd, record) != 0);
        }
        uint8_t record[3] = {};
        REQUIRE(apmib_set(140 + kAdd, record) == 0 && count_of(140) == 255);
        REQUIRE(entry(140, 1, 3) == "\x01\x02\x03" && entry(140, 255, 3) == std::string("\xff\0\x01", 3));
    });
}

TEST_F(Items, WritesOfEveryKindOneAfterTheOtherAreCommitted) {
    in_router([] {
        for (int id : {100, 101, 102, 103, 104, 110, 111, 112, 113, 114, 32767}) {
            uint8_t value[64] = {'v', 'w'};
            for (wlan_idx = 0; wlan_idx < 2; wlan_idx++) {
                for (vwlan_idx = 0; vwlan_idx < 6; vwlan_idx++) {
                    value[0]++;
                    REQUIRE(apmib_set(id, value) != 0);
                }
            }
        }
        wlan_idx = vwlan_idx = 0;
        char entries[3][7] = {"aaaaaa", "bbbbbb", "cccccc"};
        for (auto &entry : entries) {
            REQUIRE(apmib_set(120 + kAdd, entry) != 0);
        }
        REQUIRE(apmib_set(120 + kDelete, entries[0]) != 0);
        REQUIRE(apmib_set(120 + kDelete, entries[2]) != 0);
        REQUIRE(count_of(120) == 1 && entry(120, 1, 6) == "bbbbbb");
        REQUIRE(apmib_set(120 + kDeleteAll, entries[0]) != 0 && count_of(120) == 0);
    });
    in_router([] { REQUIRE(apmib_update(4) != 0); });
    EXPECT_EQ(router.flash({"boot"}).output, "");
    in_router([] { REQUIRE(count_of(120) == 0 && reads(100, "\x82", 1)); });
}

// A table of several of the file's pages.
TEST_F(Items, ATableBeyondAPageKeepsItsEntriesWhereTheyMoveUp) {
    in_router([] {
        uint8_t record[64] = {};
        auto name = [&](int number) {
            record[0] = static_cast<uint8_t>(number);
            return record;
        };
        for (int i = 1; i <= 100; i++) {
            REQUIRE(apmib_set(150 + kAdd, name(i)) != 0);
        }
        for (int i = 100; i > 90; i--) {
            REQUIRE(apmib_set(150 + kDelete, name(i)) != 0);
        }
        REQUIRE(count_of(150) == 90);
        REQUIRE(apmib_set(150 + kDelete, name(2)) != 0);
        REQUIRE(count_of(150) == 89);
        REQUIRE(apmib_set(150 + kAdd, name(200)) != 0);
        REQUIRE(entry(150, 1, 64)[0] == 1 && entry(150, 2, 64)[0] == 3 && entry(150, 89, 64)[0] == 90);
        REQUIRE(entry(150, 90, 64) == std::string(reinterpret_cast<char *>(record), 64) && count_of(150) == 90);
        REQUIRE(apmib_update(4) != 0);
    });
    EXPECT_EQ(router.flash({"boot"}).output, "");
    in_router([] { REQUIRE(count_of(150) == 90 && entry(150, 90, 64)[0] == '\xc8'); });
}

TEST_F(Items, AWriteIsSeenByOthersAtOnceAndGoneAfterAReboot) {
    in_router([] { REQUIRE(writes(104, "new\0                                                            ")); });
    in_router([] { REQUIRE(reads(104, "new\0\0\0\0\0", 8)); });
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    in_router([] { REQUIRE(reads(104, "eight\0\0\0", 8)); });
}

TEST_F(Items, ACommitSurvivesAReboot) {
    in_router([] {
        int32_t number = 77;
        char text[] = "new";
        char record[] = "abcdef";
        wlan_idx = 1;
        vwlan_idx = 5;
        REQUIRE(apmib_set(111, &number) != 0 && apmib_set(104, text) != 0 && apmib_set(120 + kAdd, record) != 0);
        REQUIRE(apmib_update(4) != 0 && save_cs_to_file() == 0);
        number = 78;
        REQUIRE(apmib_set(111, &number) != 0);
    });
    std::filesystem::remove_all(router.path("/var/mib"));  // what a reboot does to memory
    ASSERT_EQ(router.run([] { REQUIRE(apmib_init() == 0); }), 0);
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    in_router([] {
        int32_t number = 77;
        REQUIRE(reads(104, "new\0\0\0\0\0", 8) && entry(120, 1, 6) == "abcdef");
        wlan_idx = 1;
        vwlan_idx = 5;
        REQUIRE(reads(111, &number, 4));
    });
}

TEST_F(Items, ARebootDropsUncommittedWritesUnderAProcessThatRuns) {
    const char *wrote = "/etc/wrote";
    const char *booted = "/etc/booted";
    auto wait_for_file = [](const std::string &path) {
        while (access(path.c_str(), F_OK) != 0) {
            usleep(1000);
        }
    };
    pid_t process = router.start([&] {
        char text[] = "new";
        REQUIRE(apmib_init() != 0 && apmib_set(104, text) != 0);
        write_file(wrote, "");
        wait_for_file(booted);
        REQUIRE(reads(104, "eight\0\0\0", 8));
        REQUIRE(apmib_set(104, text) != 0 && apmib_update(4) != 0 && reads(104, "new\0\0\0\0\0", 8));
    });
    wait_for_file(router.path(wrote));
    EXPECT_EQ(router.flash({"boot"}).status, 0);
    write_file(router.path(booted), "");
    EXPECT_EQ(wait_for(process), 0);
    EXPECT_EQ(router.flash({"boot"}).status, 0);
    in_router([] { REQUIRE(reads(104, "new\0\0\0\0\0", 8)); });
}

TEST_F(Items, OnlyTypeFourCommits) {
    in_router([] {
        char text[] = "new";
        REQUIRE(apmib_set(104, text) != 0);
        for (int type : {0, 1, 2, 3, 5, 8, -4, INT_MAX}) {
            REQUIRE(apmib_update(type) == 0);
        }
    });
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    in_router([] { REQUIRE(reads(104, "eight\0\0\0", 8)); });
}

TEST_F(Items, NothingWorksBeforeTheStoreIsOpen) {
    EXPECT_EQ(router.run([] {
        uint8_t value[16] = {};
        REQUIRE(apmib_get(100, value) == 0 && apmib_set(100, value) == 0 && apmib_update(4) == 0);
        REQUIRE(apmib_init() != 0 && apmib_init() != 0 && reads(100, "\x07", 1));
    }),
              0);
}

TEST(Store, ARouterThatWasNeverStartedHasNone) {
    Router router(kDefinitions);
    EXPECT_EQ(router.run([] { REQUIRE(apmib_init() == 0 && save_cs_to_file() != 0); }), 0);
    std::filesystem::create_directories(router.path("/var/mib"));
    EXPECT_EQ(router.run([] { REQUIRE(apmib_init() == 0); }), 0);
    EXPECT_FALSE(std::filesystem::exists(router.path(kWorking)));
    write_file(router.path(kWorking), "");
    EXPECT_EQ(router.run([] { REQUIRE(apmib_init() == 0); }), 0);
    write_file(router.path(kWorking), std::string(100000, 'x'));
    EXPECT_EQ(router.run([] { REQUIRE(apmib_init() == 0); }), 0);
}

TEST_F(Items, NobodyElseReadsTheFiles) {
    in_router([] { REQUIRE(apmib_update(4) != 0 && save_cs_to_file() == 0); });
    for (const char *name : {kWorking, kCommitted, "/flash/mib/settings.mdb", "/flash/mib/commit.lock"}) {
        EXPECT_EQ(std::filesystem::status(router.path(name)).permissions(), std::filesystem::perms(0600)) << name;
    }
    for (const char *name : {"/var/mib", "/flash/mib"}) {
        EXPECT_EQ(std::filesystem::status(router.path(name)).permissions(), std::filesystem::perms(0700)) << name;
    }
}

// Whether a descriptor is open on this file.
bool is_open_on(int fd, const char *path) {
    struct stat opened = {};
    struct stat named = {};
    return fstat(fd, &opened) == 0 && stat(path, &named) == 0 && opened.st_ino == named.st_ino;
}

// A command in the background that kept a descriptor would keep its lock when the writer dies.
TEST_F(Items, ACommandThatIsLeftRunningHoldsNoFileOfTheStore) {
    in_router([] {
        char text[] = "new";
        REQUIRE(apmib_set(104, text) != 0 && apmib_update(4) != 0);
        int found = 0;
        for (int fd = 3; fd < 64; fd++) {
            if (is_open_on(fd, kWorking) || is_open_on(fd, kCommitted)) {
                REQUIRE((fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0);
                found++;
            }
        }
        REQUIRE(found > 0);
    });
}

TEST_F(Items, TheSettingsFileHoldsWhatWasCommitted) {
    in_router([] {
        char text[] = "a\\\n\x7f";
        uint8_t record[27] = {0xab};
        REQUIRE(apmib_set(104, text) != 0 && apmib_set(130 + kAdd, record) != 0 && apmib_set(130 + kAdd, record) != 0);
        REQUIRE(apmib_update(4) != 0);
        char later[] = "later";
        REQUIRE(apmib_set(104, later) != 0 && save_cs_to_file() == 0);
    });
    Outcome outcome = router.flash({"settings"});
    ASSERT_EQ(outcome.status, 0);
    const std::string &settings = outcome.output;
    std::string zeros(52, '0');
    for (const std::string &line :
         {std::string("MIB_BYTE=7"), std::string("MIB_SBYTE=-7"), std::string("MIB_INT=-100000"),
          std::string("MIB_ADDRESS=10.1.2.3"), std::string("MIB_TEXT=a\\\\\\x0a\\x7f"), std::string("WLAN1_VA2_INT=22"),
          std::string("WLAN0_TEXT=text"), "WLAN0_TABLE=ab" + zeros + ",ab" + zeros, std::string("WLAN1_VXD_TABLE="),
          std::string("MIB_FULL_TABLE=010203,040506")}) {
        EXPECT_NE(("\n" + settings).find("\n" + line + "\n"), std::string::npos) << line << " is not in\n" << settings;
    }
    EXPECT_FALSE(std::filesystem::exists(router.path(kNew)));
}

TEST(Shipped, DefinitionsStartARouter) {
    Router router(read_file(SOURCE_FOLDER "/platform/items.conf"));
    Outcome boot = router.flash({"boot"});
    EXPECT_EQ(boot.status, 0);
    EXPECT_EQ(boot.output, "");
    EXPECT_EQ(router.flash({"get", "MIB_USER_NAME"}).output, "MIB_USER_NAME=admin\n");
    EXPECT_EQ(router.flash({"get", "170"}).output, "MIB_LAN_IP_ADDR=192.168.1.1\n");
    EXPECT_EQ(router.flash({"get", "WLAN1_SSID"}).output, "WLAN1_SSID=My Wi-Fi\n");
}

}  // namespace
