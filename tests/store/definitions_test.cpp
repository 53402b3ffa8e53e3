// SPDX-License-Identifier: MIT
// The definition file: what is wrong in it is said with its line, and an upgrade keeps what still fits.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/store/router.h"

namespace {

struct Fault {
    const char *definitions;
    const char *message;  // what the output has
};

const Fault kFaults[] = {
    {"",                                                                               "items.conf:0: no item"                                                        },
    {"# nothing\n\n",                                                                  "items.conf:2: no item"                                                        },
    {"1 MIB_A byte global\n",                                                          "items.conf:1: no default"                                                     },
    {"1 MIB_A byte\n",                                                                 "items.conf:1: an item has an id"                                              },
    {"\n# a\n1 MIB_A byte global 256\n",                                               "items.conf:3: '256' is no number from 0 to 255"                               },
    {"1 MIB_A byte global -1\n",                                                       "items.conf:1: '-1' is no number"                                              },
    {"1 MIB_A byte global 1x\n",                                                       "items.conf:1: '1x' is no number"                                              },
    {"1 MIB_A sbyte global 128\n",                                                     "items.conf:1: '128' is no number from -128 to 127"                            },
    {"1 MIB_A int32 global 2147483648\n",                                              "items.conf:1: '2147483648' is no number"                                      },
    {"1 MIB_A int32 global 99999999999999999999\n",                                    "items.conf:1: '99999999999999999999' is no number"                            },
    {"1 MIB_A ipv4 global 1.2.3.256\n",                                                "items.conf:1: '1.2.3.256' is no IPv4 address"                                 },
    {"1 MIB_A text[4] global \"four\"\n",                                              "items.conf:1: a text of 4 bytes where 3 fit"                                  },
    {"1 MIB_A text[4] global four\n",                                                  "items.conf:1: a text's default stands in double quotes"                       },
    {"1 MIB_A text[4] global \"\n",                                                    "items.conf:1: a text's default stands in double quotes"                       },
    {"1 MIB_A text[1] global \"\"\n",                                                  "items.conf:1: '1' is no number from 2 to 1024"                                },
    {"1 MIB_A text[1025] global \"\"\n",                                               "items.conf:1: '1025' is no number from 2 to 1024"                             },
    {"1 MIB_A text[4 global \"\"\n",                                                   "items.conf:1: 'text[4' is no kind"                                            },
    {"1 MIB_A text[4]x global \"\"\n",                                                 "items.conf:1: 'text[4]x' is no kind"                                          },
    {"1 MIB_A text[-4] global \"\"\n",                                                 "items.conf:1:"                                                                },
    {"1 MIB_A table[4x0/4] global -\n",                                                "items.conf:1: '0' is no number from 1 to 255"                                 },
    {"1 MIB_A table[4x256/4] global -\n",                                              "items.conf:1: '256' is no number from 1 to 255"                               },
    {"1 MIB_A table[4x2/5] global -\n",                                                "items.conf:1: '5' is no number from 1 to 4"                                   },
    {"1 MIB_A table[4x2] global -\n",                                                  "items.conf:1: 'table[4x2]' is no kind"                                        },
    {"1 MIB_A table[2x2/2] global 0102,03\n",                                          "items.conf:1: '03' is no entry of 2 bytes"                                    },
    {"1 MIB_A table[2x2/2] global 01gg\n",                                             "items.conf:1: '01gg' is no entry"                                             },
    {"1 MIB_A table[2x1/2] global 0102,0304\n",                                        "items.conf:1: more than 1 entries"                                            },
    {"1 MIB_A double global 1\n",                                                      "items.conf:1: 'double' is no kind"                                            },
    {"1 MIB_A byte local 1\n",                                                         "items.conf:1: 'local' is no scope"                                            },
    {"1 MIB_A byte interface 1\n",                                                     "items.conf:1: 'MIB_A' has a value per interface and must begin with MIB_WLAN_"},
    {"1 mib_a byte global 1\n",                                                        "items.conf:1: 'mib_a' is no name"                                             },
    {"1 MIB_ byte global 1\n",                                                         "items.conf:1: 'MIB_' is no name"                                              },
    {"1 MIB_A=B byte global 1\n",                                                      "items.conf:1: 'MIB_A=B' is no name"                                           },
    {"1 MIB_ABCDEFGHIJKLMNOPQRSTUVWXYZABCDEFGHIJKLMNOPQRSTUVWXYZ0123 byte global 1\n", "at most 55"                                                                   },
    {"0 MIB_A byte global 1\n",                                                        "items.conf:1: '0' is no number from 1 to 32767"                               },
    {"32768 MIB_A byte global 1\n",                                                    "items.conf:1: '32768' is no number from 1 to 32767"                           },
    {"x MIB_A byte global 1\n",                                                        "items.conf:1: 'x' is no number"                                               },
    {"1 MIB_A byte global 1\n1 MIB_B byte global 1\n",                                 "items.conf:2: the item 1 MIB_A is there already"                              },
    {"1 MIB_A byte global 1\n2 MIB_A byte global 1\n",                                 "items.conf:2: the item 1 MIB_A is there already"                              },
    {"  wlan0 1\n",                                                                    "items.conf:1: no item with a value per interface stands above"                },
    {"1 MIB_A byte global 1\n  wlan0 1\n",                                             "items.conf:2: no item with a value per interface stands above"                },
    {"1 MIB_WLAN_A byte interface 1\n  wlan2 1\n",                                     "items.conf:2: 'wlan2' is no wireless interface"                               },
    {"1 MIB_WLAN_A byte interface 1\n  wlan0-va5 1\n",                                 "items.conf:2: 'wlan0-va5' is no wireless interface"                           },
    {"1 MIB_WLAN_A byte interface 1\n  wlan0 256\n",                                   "items.conf:2: '256' is no number"                                             },
    {"1 MIB_WLAN_A byte interface 1\n  wlan0 1 2\n",                                   "items.conf:2: '2' behind the default of an interface"                         },
    {"1 MIB_A text[4] global \"a\n",                                                   "items.conf:1: a text's default stands in double quotes"                       },
    {"1 MIB_WLAN_A byte interface 1\n  wlan0\n",                                       "items.conf:2: no default"                                                     },
    {"1 MIB_A byte global x\n2 MIB_B byte global 1\n3 MIB_C byte global y\n",          "items.conf:3: 'y' is no number"                                               },
};

TEST(Definitions, AFaultIsSaidWithItsLineAndNothingIsTouched) {
    Router router("1 MIB_A text[8] global \"first\"\n");
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    ASSERT_EQ(router.flash({"set", "MIB_A", "kept"}).status, 0);
    std::string committed = read_file(router.path(kCommitted));
    for (const Fault &fault : kFaults) {
        write_file(router.path("/etc/items.conf"), fault.definitions);
        for (const char *command : {"boot", "default"}) {
            Outcome outcome = router.flash({command});
            EXPECT_EQ(outcome.status, 1) << fault.definitions;
            EXPECT_NE(outcome.output.find(fault.message), std::string::npos) << fault.definitions << outcome.output;
        }
    }
    EXPECT_EQ(read_file(router.path(kCommitted)), committed);
    EXPECT_EQ(router.flash({"get", "MIB_A"}).output, "MIB_A=kept\n");
}

TEST(Definitions, WhatFollowsADefaultIsTheMeaning) {
    Router router(
        "1 MIB_A byte global 1 2\n2 MIB_B text[8] global \"a b\" \"c\" or \"d\"\n3 MIB_C text[8] global \"\" empty\n"
        "4 MIB_D table[2x4/2] global - none\n5 MIB_E table[2x4/2] global 0102,0304 two\n6 MIB_F text[8] global "
        "\"#\"\n");
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    EXPECT_EQ(router.flash({"all"}).output, "MIB_A=1\nMIB_B=a b\nMIB_C=\nMIB_D=\nMIB_E=0102,0304\nMIB_F=#\n");
}

TEST(Definitions, AMissingFileIsSaid) {
    Router router("");
    std::filesystem::remove(router.path("/etc/items.conf"));
    Outcome outcome = router.flash({"boot"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("/etc/items.conf: No such file"), std::string::npos) << outcome.output;
    EXPECT_FALSE(std::filesystem::exists(router.path(kCommitted)));
}

TEST(Definitions, AFileMayBeNamed) {
    Router router("1 MIB_A byte global 1\n");
    write_file(router.path("/etc/other.conf"), "1 MIB_A byte global 2\r\n");
    EXPECT_EQ(router.flash({"boot", "--items", "/etc/other.conf"}).status, 0);
    EXPECT_EQ(router.flash({"get", "MIB_A"}).output, "MIB_A=2\n");
}

TEST(Definitions, AnUpgradeKeepsWhatFits) {
    Router router(
        "1 MIB_KEPT int32 global 1\n2 MIB_LONGER text[8] global \"a\"\n3 MIB_SHORTER text[8] global \"a\"\n"
        "4 MIB_OTHER_KIND byte global 1\n5 MIB_DROPPED byte global 1\n6 MIB_TABLE table[2x4/2] global -\n"
        "7 MIB_WLAN_A byte interface 1\n8 MIB_SMALLER table[2x4/2] global -\n9 MIB_RENAMED byte global 1\n"
        "10 MIB_STILL_FITS text[8] global \"a\"\n");
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    for (auto [name, value] : {
             std::pair{"1",           "5"        },
             {"2",           "1234567"  },
             {"3",           "1234567"  },
             {"4",           "5"        },
             {"5",           "5"        },
             {"6",           "0102,0304"},
             {"WLAN1_VXD_A", "5"        },
             {"8",           "0102,0304"},
             {"9",           "5"        },
             {"10",          "123"      }
    }) {
        ASSERT_EQ(router.flash({"set", name, value}).status, 0) << name;
    }
    ASSERT_EQ(router.flash({"commit"}).status, 0);
    write_file(
        router.path("/etc/items.conf"),
        "1 MIB_KEPT int32 global 2\n2 MIB_LONGER text[16] global \"b\"\n3 MIB_SHORTER text[4] global \"b\"\n"
        "4 MIB_OTHER_KIND int32 global 2\n6 MIB_TABLE table[2x8/1] global -\n7 MIB_WLAN_A byte interface 2\n"
        "8 MIB_SMALLER table[2x1/2] global -\n9 MIB_NEW_NAME byte global 2\n10 MIB_STILL_FITS text[4] global \"b\"\n"
        "11 MIB_NEW ipv4 global 1.2.3.4\n");
    Outcome boot = router.flash({"boot"});
    EXPECT_EQ(boot.status, 0);
    for (const char *name : {"MIB_SHORTER", "MIB_OTHER_KIND", "MIB_SMALLER"}) {
        EXPECT_NE(boot.output.find(name), std::string::npos) << boot.output;
    }
    for (int i = 0; i < 2; i++) {  // the second start has nothing more to say
        for (const char *line : {"MIB_KEPT=5", "MIB_LONGER=1234567", "MIB_SHORTER=b", "MIB_OTHER_KIND=2",
                                 "MIB_TABLE=0102,0304", "WLAN0_A=1", "WLAN1_VXD_A=5", "MIB_SMALLER=", "MIB_NEW_NAME=5",
                                 "MIB_STILL_FITS=123", "MIB_NEW=1.2.3.4"}) {
            std::string name(line, strchr(line, '='));
            EXPECT_EQ(router.flash({"get", name}).output, line + std::string("\n"));
        }
        EXPECT_EQ(router.flash({"get", "5"}).status, 1);
        EXPECT_EQ(router.flash({"boot"}).output, "");
    }
}

}  // namespace
