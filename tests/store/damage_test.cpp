// SPDX-License-Identifier: MIT
// A committed copy that is damaged: reported, set aside, and the router starts from its defaults.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/apmib.h"
#include "platform/tables.h"
#include "tests/store/router.h"

namespace {

constexpr int kOperations[] = {0, kTableRead, kTableAdd, kTableDelete, kTableDeleteAll};
constexpr char kDefault[] = "MIB_NAME=default\n";
constexpr char kKept[] = "MIB_NAME=kept\n";

// A store of several pages, so that there are pages of every sort.
std::string definitions() {
    std::string text = "1 MIB_NAME text[32] global \"default\"\n2 MIB_LARGE table[200x40/200] global -\n";
    for (int id = 10; id < 150; id++) {
        text += std::to_string(id) + " MIB_FILL_" + std::to_string(id) + " text[40] global \"filler\"\n";
    }
    return text;
}

class Damage : public testing::Test {
  protected:
    Damage() : router(definitions()) {
        EXPECT_EQ(router.flash({"boot"}).status, 0);
        std::string entry(400, 'a');
        for (const auto &words : std::vector<std::vector<std::string>>{
                 {"set",                "MIB_NAME", "kept"},
                 {"set",              "MIB_LARGE", entry + "," + entry},
                 {"commit"               },
                 {"set", "MIB_FILL_20", "changed"},
                 {"commit"            },
                 {"set",                "MIB_FILL_140", "changed"},
                 {"commit"          }
        }) {
            EXPECT_EQ(router.flash(words).status, 0);
        }
        sound = read_file(router.path(kCommitted));
        all = router.flash({"all"}).output;
        EXPECT_EQ(router.flash({"default"}).status, 0);
        defaults = router.flash({"all"}).output;
        EXPECT_NE(all, defaults);
    }

    // Starts the router from this committed copy. It must report the damage, keep the file and have the defaults, or
    // have every value that was committed. Returns whether it reported.
    bool start_from(const std::string &committed) {
        write_file(router.path(kCommitted), committed);
        auto begin = std::chrono::steady_clock::now();
        Outcome boot = router.flash({"boot"});
        EXPECT_EQ(boot.status, 0) << boot.output;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
        std::string values = router.flash({"all"}).output;
        if (boot.output.empty()) {
            EXPECT_EQ(values, all);
            EXPECT_TRUE(set_aside().empty());
            return false;
        }
        EXPECT_NE(boot.output.find("committed.mdb is damaged: "), std::string::npos) << boot.output;
        EXPECT_EQ(values, defaults);
        std::vector<std::string> kept = set_aside();
        EXPECT_EQ(kept.size(), 1U);
        for (const std::string &path : kept) {
            EXPECT_NE(boot.output.find(std::filesystem::path(path).filename()), std::string::npos) << boot.output;
            EXPECT_EQ(read_file(path), committed);
            std::filesystem::remove(path);
        }
        // And the router works.
        EXPECT_EQ(router.run([] {
            char name[] = "new";
            REQUIRE(apmib_init() != 0 && apmib_set(1, name) != 0 && apmib_update(4) != 0 && save_cs_to_file() == 0);
        }),
                  0);
        return true;
    }

    // Starts the router from a committed copy cut at many lengths. Returns how many were reported.
    size_t cut_everywhere(const std::string &committed, size_t *cuts) {
        size_t reported = 0;
        *cuts = 0;
        for (size_t size = 0; size < committed.size(); size += size < 600 ? 60 : 1021) {
            reported += start_from(committed.substr(0, size));
            ++*cuts;
            EXPECT_FALSE(HasFailure()) << "cut at " << size;
        }
        return reported;
    }

    std::vector<std::string> set_aside() {
        std::vector<std::string> found;
        for (const auto &entry : std::filesystem::directory_iterator(router.path("/flash/mib"))) {
            if (entry.path().filename().string().find(".damaged-") != std::string::npos) {
                found.push_back(entry.path());
            }
        }
        return found;
    }

    Router router;
    std::string sound;     // a committed copy
    std::string all;       // its values
    std::string defaults;  // those of a new router
};

TEST_F(Damage, ASoundCopyIsNotReported) {
    EXPECT_FALSE(start_from(sound));
}

TEST_F(Damage, AFileCutShortIsReported) {
    size_t cuts = 0;
    size_t reported = cut_everywhere(sound, &cuts);
    EXPECT_EQ(reported, cuts);
    printf("cut at %zu lengths, %zu reported\n", cuts, reported);
}

TEST_F(Damage, NoiseIsReported) {
    Random random(4);
    for (size_t size : {1U, 16U, 500U, 5000U}) {
        for (size_t i = 0; i < 60; i++) {
            std::string file = sound;
            size_t at = random.below(file.size());
            for (size_t k = at; k < file.size() && k < at + size; k++) {
                file[k] = static_cast<char>(random.below(256));
            }
            EXPECT_EQ(start_from(file), file != sound) << size << " bytes of noise at " << at;
            ASSERT_FALSE(HasFailure());
        }
    }
}

// What a committed file ends with, byte by byte.
TEST_F(Damage, NoiseInTheEndIsReported) {
    constexpr size_t kEnd = 16;
    for (size_t at = sound.size() - kEnd; at < sound.size(); at++) {
        std::string file = sound;
        file[at] = static_cast<char>(file[at] ^ 1);
        EXPECT_TRUE(start_from(file)) << "byte " << at;
    }
    EXPECT_TRUE(start_from(sound + '\0'));
    EXPECT_TRUE(start_from(sound.substr(0, sound.size() - kEnd)));
}

// What a boot reports as damaged it does not replace by itself; who looks after the router can.
TEST_F(Damage, TheSettingsFileCanTakeTheCopysPlace) {
    write_file(router.path(kCommitted), sound);
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    ASSERT_EQ(router.flash({"set", "MIB_FILL_30", "uncommitted"}).status, 0);
    std::string settings = read_file(router.path(kSettings));
    EXPECT_TRUE(start_from("damage"));
    EXPECT_FALSE(start_from(settings));
}

TEST_F(Damage, AValueOfAnotherCommitIsReported) {
    std::string values[] = {std::string(39, 'b'), std::string(39, 'c')};
    std::string files[2];
    for (size_t i : {0U, 1U}) {
        write_file(router.path(kCommitted), sound);
        ASSERT_EQ(router.flash({"boot"}).status, 0);
        ASSERT_EQ(router.flash({"set", "MIB_FILL_30", values[i]}).status, 0);
        ASSERT_EQ(router.flash({"commit"}).status, 0);
        files[i] = read_file(router.path(kCommitted));
    }
    all = router.flash({"all"}).output;
    EXPECT_FALSE(start_from(files[1]));
    size_t at = files[1].find(values[1]);
    ASSERT_TRUE(at != std::string::npos && at == files[0].find(values[0]));
    std::string mixed = files[1];
    mixed.replace(at, values[0].size(), values[0]);
    EXPECT_TRUE(start_from(mixed));
    constexpr size_t kSector = 512;  // the first part of one, the rest of the other
    for (size_t cut = kSector; cut < files[0].size(); cut += kSector) {
        mixed = files[0].substr(0, cut) + files[1].substr(cut);
        EXPECT_TRUE(start_from(mixed) || mixed == files[1]) << "cut at " << cut;
    }
}

TEST_F(Damage, AStateOfAnOlderFormatIsReported) {
    std::string older = sound;
    older[older.size() - 16 + 6] = '4';
    ASSERT_NE(older, sound);
    EXPECT_TRUE(start_from(older));
}

TEST_F(Damage, WhatIsNoStoreIsReported) {
    Random random(6);
    std::string noise(50000, '\0');
    for (char &byte : noise) {
        byte = static_cast<char>(random.below(256));
    }
    EXPECT_TRUE(start_from(""));
    EXPECT_TRUE(start_from("a text\n"));
    EXPECT_TRUE(start_from(std::string(65536, '\0')));
    EXPECT_TRUE(start_from(noise));
}

TEST_F(Damage, ManyDamagedFilesAreAllKept) {
    for (int i = 0; i < 3; i++) {
        write_file(router.path(kCommitted), "damage " + std::to_string(i));
        EXPECT_EQ(router.flash({"boot"}).status, 0);
    }
    EXPECT_EQ(set_aside().size(), 3U);
}

TEST_F(Damage, AStartFromTheDefaultsDoesNotLookAtTheCopy) {
    write_file(router.path(kCommitted), "damage");
    Outcome boot = router.flash({"boot", "--fresh"});
    EXPECT_EQ(boot.status, 0);
    EXPECT_EQ(boot.output, "");
    EXPECT_EQ(router.flash({"get", "MIB_NAME"}).output, kDefault);
}

TEST_F(Damage, AWorkingCopyThatIsDamagedIsLaidOutAnew) {
    write_file(router.path(kCommitted), sound);
    for (const std::string &working : {std::string("damage"), std::string(40000, 'x'), std::string()}) {
        write_file(router.path(kWorking), working);
        Outcome boot = router.flash({"boot"});
        EXPECT_EQ(boot.status, 0);
        EXPECT_NE(boot.output.find("working.mdb is damaged"), std::string::npos) << boot.output;
        EXPECT_EQ(router.flash({"get", "MIB_NAME"}).output, kKept);
    }
}

// Starts from a working copy that is damaged within: what was committed is there again, whatever it was.
class DamagedWorking : public Damage {
  protected:
    DamagedWorking() {
        write_file(router.path(kCommitted), sound);
        EXPECT_EQ(router.flash({"boot"}).status, 0);
        working = read_file(router.path(kWorking));
    }

    void boot_over(const std::string &file) {
        write_file(router.path(kWorking), file);
        auto begin = std::chrono::steady_clock::now();
        Outcome boot = router.flash({"boot"});
        EXPECT_EQ(boot.status, 0) << boot.output;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
        EXPECT_TRUE(boot.output.empty() || boot.output.find("working.mdb is damaged") != std::string::npos)
            << boot.output;
        EXPECT_EQ(router.flash({"all"}).output, all);
        EXPECT_TRUE(set_aside().empty());
        reported += !boot.output.empty();
    }

    std::string working;
    size_t reported = 0;
};

// The heads of pages: flags, counts, page numbers. Noise there sends a reader anywhere.
TEST_F(DamagedWorking, NoiseInTheHeadOfEveryPageIsSurvived) {
    Random random(5);
    for (size_t page = 0; page + 4096 <= working.size(); page += 4096) {
        for (size_t i = 0; i < 4; i++) {
            std::string file = working;
            for (size_t k = 0; k < 8; k++) {
                file[page + random.below(page < 8192 ? 150 : 48)] = static_cast<char>(random.below(256));
            }
            boot_over(file);
            ASSERT_FALSE(HasFailure()) << "page " << page / 4096 << ", trial " << i;
        }
    }
    EXPECT_GT(reported, 0U);
}

// A reader that believed it would go round for ever.
TEST_F(DamagedWorking, APageThatPointsToItselfIsSurvived) {
    size_t branches = 0;
    for (size_t page = 8192; page + 4096 <= working.size(); page += 4096) {
        constexpr size_t kFlags = 10;  // in a page's head; bit 0 is that of a branch page
        constexpr size_t kHead = 16;
        if ((working[page + kFlags] & 1) == 0) {
            continue;
        }
        branches++;
        std::string file = working;
        for (size_t at = page + kHead; at < page + 4096; at += 2) {
            size_t child = static_cast<unsigned char>(file[at]);
            if (child > 1 && child < working.size() / 4096 && file[at + 1] == 0) {
                file[at] = static_cast<char>(page / 4096);
            }
        }
        boot_over(file);
    }
    EXPECT_GT(branches, 0U);
    EXPECT_GT(reported, 0U);
}

TEST_F(DamagedWorking, NoiseAndCutsAreSurvived) {
    Random random(7);
    for (size_t i = 0; i < 60; i++) {
        std::string file = working;
        size_t at = random.below(file.size());
        for (size_t k = at; k < file.size() && k < at + 3000; k++) {
            file[k] = static_cast<char>(random.below(256));
        }
        boot_over(i % 2 == 0 ? file : working.substr(0, at));
        ASSERT_FALSE(HasFailure()) << "at " << at << ", trial " << i;
    }
    EXPECT_GT(reported, 0U);
}

// Definitions that nobody can have made, in records of the right size: they are no items, and lead nobody elsewhere.
TEST_F(Damage, AnImpossibleDefinitionIsNoItem) {
    constexpr struct {
        int id;
        const char *name;
        uint8_t kind, slots;
        uint16_t limit, match, width;
    } kRows[] = {
        {1, "MIB_NAME",  0, 1,  0,    0,   32  }, // a byte of 32 bytes
        {1, "MIB_NAME",  2, 1,  0,    0,   32  },
        {1, "MIB_NAME",  4, 2,  0,    0,   16  }, // not as many as there are interfaces
        {1, "MIB_NAME",  4, 32, 0,    0,   1   },
        {1, "MIB_NAME",  0, 32, 0,    0,   1   },
        {1, "MIB_NAME",  6, 1,  0,    0,   32  }, // no kind
        {2, "MIB_LARGE", 5, 1,  40,   0,   200 }, // a delete compares nothing,
        {2, "MIB_LARGE", 5, 1,  40,   201, 200 }, // or more than an entry
        {2, "MIB_LARGE", 5, 1,  8000, 1,   1   }, // more entries than can be named
        {2, "MIB_LARGE", 5, 2,  2,    200, 1999},
        {2, "MIB_LARGE", 5, 3,  12,   200, 222 },
        {2, "MIB_LARGE", 4, 1,  0,    0,   8003}, // another size
    };
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    const std::string working = read_file(router.path(kWorking));
    for (auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.name << " of kind " << int{row.kind} << ", " << int{row.slots}
                                        << " slots, " << row.limit << " x " << row.width << " / " << row.match);
        std::string damaged = working;
        // Pages that are no longer used may hold the record, too.
        const std::string name = std::string(row.name) + '\0';
        for (size_t at = damaged.find(name); at != std::string::npos; at = damaged.find(name, at + 1)) {
            char *record = &damaged[at - 8];
            memcpy(record, &row.kind, 1);
            memcpy(record + 1, &row.slots, 1);
            memcpy(record + 2, &row.limit, 2);
            memcpy(record + 4, &row.match, 2);
            memcpy(record + 6, &row.width, 2);
        }
        ASSERT_NE(damaged, working);
        write_file(router.path(kWorking), damaged);
        EXPECT_EQ(router.run([&] {
            REQUIRE(apmib_init() != 0);
            std::vector<char> value(1 << 16, 1);
            for (wlan_idx = 0; wlan_idx < 2; wlan_idx++) {
                for (vwlan_idx = 0; vwlan_idx < 6; vwlan_idx++) {
                    for (const int operation : kOperations) {
                        REQUIRE(apmib_get(row.id + operation, value.data()) == 0);
                        REQUIRE(apmib_set(row.id + operation, value.data()) == 0);
                    }
                }
            }
            REQUIRE(value == std::vector<char>(1 << 16, 1));
            REQUIRE(apmib_update(4) == 0);  // nor does it get into the committed copy
        }),
                  0);
        EXPECT_EQ(read_file(router.path(kWorking)), damaged);
        for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
                 {"all"},
                 { "get",         row.name},
                 { "set", row.name, "x"}
        }) {
            Outcome outcome = router.flash(words);
            EXPECT_EQ(outcome.status, 1);
            EXPECT_NE(outcome.output.find("flash: "), std::string::npos) << outcome.output;
        }
    }
}

TEST_F(Damage, AMissingCopyIsWrittenAgainByTheNextCommit) {
    std::filesystem::remove(router.path(kCommitted));
    EXPECT_EQ(router.run([] {
        char name[] = "kept";
        REQUIRE(apmib_init() != 0 && apmib_set(1, name) != 0 && apmib_update(4) != 0);
    }),
              0);
    Outcome boot = router.flash({"boot"});
    EXPECT_EQ(boot.output, "");
    EXPECT_EQ(router.flash({"get", "MIB_NAME"}).output, kKept);
}

}  // namespace
