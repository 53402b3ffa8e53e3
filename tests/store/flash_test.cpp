// SPDX-License-Identifier: MIT
// The `flash` command.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/store/router.h"

namespace {

constexpr char kDefinitions[] = R"(
1  MIB_BYTE         byte           global     7
2  MIB_SBYTE        sbyte          global     -7
3  MIB_INT          int32          global     1
4  MIB_ADDRESS      ipv4           global     10.1.2.3
5  MIB_TEXT         text[8]        global     " a "
6  MIB_TABLE        table[2x3/2]   global     -
10 MIB_WLAN_SSID    text[33]       interface  "main"
  wlan0-va1                                   "second"
11 MIB_WLAN_AX_SUPPORT byte        interface  0
)";

struct Step {
    std::vector<std::string> words;
    int status;
    const char *output;  // all of it for a success, the beginning of it for a failure
};

// One after the other, on one router.
const Step kSteps[] = {
    {{"get", "MIB_BYTE"},                                     1, "flash: /var/mib/working.mdb (was the router started? flash boot does): No such file"},
    {{"set", "MIB_BYTE", "1"},                                1, "flash: /var/mib/working.mdb (was"                                                   },
    {{"all"},                                                 1, "flash: /var/mib/working.mdb (was"                                                   },
    {{"settings"},                                            1, "flash: /flash/mib/settings.mdb (was"                                                },
    {{"commit"},                                              1, "flash: /var/mib/working.mdb (was"                                                   },
    {{"boot"},                                                0, ""                                                                                   },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=7\n"                                                                       },
    {{"get", "BYTE"},                                         0, "BYTE=7\n"                                                                           },
    {{"get", "1"},                                            0, "MIB_BYTE=7\n"                                                                       },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT= a \n"                                                                     },
    {{"get", "MIB_byte"},                                     1, "flash: the store has no item 'MIB_byte'"                                            },
    {{"get", "99"},                                           1, "flash: the store has no item '99'"                                                  },
    {{"get", "WLAN0_BYTE"},                                   1, "flash: the store has no item 'WLAN0_BYTE'"                                          },
    {{"get", "WLAN2_SSID"},                                   1, "flash: the store has no item 'WLAN2_SSID'"                                          },
    {{"get", ""},                                             1, "flash: the store has no item ''"                                                    },
    {{"set", "MIB_BYTE", "255"},                              0, ""                                                                                   },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=255\n"                                                                     },
    {{"set", "MIB_BYTE", "256"},                              1, "flash: MIB_BYTE is not set: '256' is no number from 0 to 255"                       },
    {{"set", "MIB_BYTE", ""},                                 1, "flash: MIB_BYTE is not set: '' is no number"                                        },
    {{"set", "MIB_BYTE", "1 "},                               1, "flash: MIB_BYTE is not set: '1 ' is no number"                                      },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=255\n"                                                                     },
    {{"set", "--", "MIB_SBYTE", "-128"},                      0, ""                                                                                   },
    {{"get", "MIB_SBYTE"},                                    0, "MIB_SBYTE=-128\n"                                                                   },
    {{"set", "--", "MIB_SBYTE", "-129"},                      1, "flash: MIB_SBYTE is not set: '-129' is no number from -128 to 127"                  },
    {{"set", "--", "MIB_INT", "-2147483648"},                 0, ""                                                                                   },
    {{"get", "MIB_INT"},                                      0, "MIB_INT=-2147483648\n"                                                              },
    {{"set", "MIB_INT", "2147483648"},                        1, "flash: MIB_INT is not set"                                                          },
    {{"set", "MIB_ADDRESS", "192.168.1.1"},                   0, ""                                                                                   },
    {{"get", "MIB_ADDRESS"},                                  0, "MIB_ADDRESS=192.168.1.1\n"                                                          },
    {{"set", "MIB_ADDRESS", "192.168.1"},                     1, "flash: MIB_ADDRESS is not set: '192.168.1' is no IPv4 address"                      },
    {{"set", "MIB_TEXT", "1234567"},                          0, ""                                                                                   },
    {{"set", "MIB_TEXT", "12345678"},                         1, "flash: MIB_TEXT is not set: a text of 8 bytes where 7 fit"                          },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT=1234567\n"                                                                 },
    {{"set", "MIB_TEXT", ""},                                 0, ""                                                                                   },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT=\n"                                                                        },
    {{"set", "MIB_TEXT", "a\nb\\"},                           0, ""                                                                                   },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT=a\\x0ab\\\\\n"                                                             },
    {{"set", "MIB_TABLE", "0102,aBcD"},                       0, ""                                                                                   },
    {{"get", "MIB_TABLE"},                                    0, "MIB_TABLE=0102,abcd\n"                                                              },
    {{"set", "MIB_TABLE", "0102,03"},                         1, "flash: MIB_TABLE is not set: '03' is no entry of 2 bytes"                           },
    {{"set", "MIB_TABLE", "01,02,03,04"},                     1, "flash: MIB_TABLE is not set"                                                        },
    {{"set", "MIB_TABLE", "0001,0002,0003,0004"},             1, "flash: MIB_TABLE is not set: more than 3 entries"                                   },
    {{"set", "MIB_TABLE", ""},                                0, ""                                                                                   },
    {{"get", "MIB_TABLE"},                                    0, "MIB_TABLE=\n"                                                                       },
    {{"get", "WLAN0_VA1_SSID"},                               0, "WLAN0_VA1_SSID=second\n"                                                            },
    {{"get", "MIB_WLAN_SSID", "--wlan", "0", "--vwlan", "2"}, 0, "MIB_WLAN_SSID=second\n"                                                             },
    {{"get", "10", "-v", "2"},                                0, "MIB_WLAN_SSID=second\n"                                                             },
    {{"get", "MIB_WLAN_SSID"},                                0, "MIB_WLAN_SSID=main\n"                                                               },
    {{"set", "WLAN1_VA4_AX_SUPPORT", "1"},                    0, ""                                                                                   },
    {{"get", "WLAN1_VXD_AX_SUPPORT"},                         0, "WLAN1_VXD_AX_SUPPORT=1\n"                                                           },
    {{"get", "WLAN1_AX_SUPPORT"},                             0, "WLAN1_AX_SUPPORT=0\n"                                                               },
    {{"get", "MIB_BYTE", "--wlan", "0"},                      1, "flash: MIB_BYTE has one value, not one per wireless interface"                      },
    {{"get", "MIB_WLAN_SSID", "--wlan", "2"},                 2, "flash: '2' is no interface number from 0 to 1"                                      },
    {{"get", "MIB_WLAN_SSID", "--vwlan", "6"},                2, "flash: '6' is no interface number from 0 to 5"                                      },
    {{"get", "MIB_WLAN_SSID", "--vwlan", "x"},                2, "flash: 'x' is no interface number"                                                  },
    {{"commit"},                                              0, ""                                                                                   },
    {{"set", "MIB_BYTE", "3"},                                0, ""                                                                                   },
    {{"boot"},                                                0, ""                                                                                   },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=255\n"                                                                     },
    {{"set", "MIB_TEXT", "kept"},                             0, ""                                                                                   },
    {{"save", "/var/moment"},                                 0, ""                                                                                   },
    {{"set", "MIB_TEXT", "later"},                            0, ""                                                                                   },
    {{"commit"},                                              0, ""                                                                                   },
    {{"load", "/var/moment"},                                 0, ""                                                                                   },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT=kept\n"                                                                    },
    {{"boot"},                                                0, ""                                                                                   },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT=later\n"                                                                   },
    {{"load", "/var/nothing"},                                1, "flash: /var/nothing (was the router started? flash boot does): No such file"        },
    {{"load", "/etc/items.conf"},                             1, "flash: /etc/items.conf is damaged: it is cut short"                                 },
    {{"get", "MIB_TEXT"},                                     0, "MIB_TEXT=later\n"                                                                   },
    {{"save", "/nowhere/moment"},                             1, "flash: /nowhere/moment: No such file"                                               },
    {{"default"},                                             0, ""                                                                                   },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=7\n"                                                                       },
    {{"boot"},                                                0, ""                                                                                   },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=7\n"                                                                       },
    {{"set", "MIB_BYTE", "3"},                                0, ""                                                                                   },
    {{"commit"},                                              0, ""                                                                                   },
    {{"boot", "--fresh"},                                     0, ""                                                                                   },
    {{"get", "MIB_BYTE"},                                     0, "MIB_BYTE=7\n"                                                                       },
    {{},                                                      2, "flash: no command; see flash --help"                                                },
    {{"nonsense"},                                            2, "flash: no command 'nonsense'"                                                       },
    {{"get"},                                                 2, "flash: get takes 1 words"                                                           },
    {{"set", "MIB_BYTE"},                                     2, "flash: set takes 2 words"                                                           },
    {{"all", "more"},                                         2, "flash: all takes 0 words"                                                           },
};

TEST(Flash, StepsOfARouter) {
    Router router(kDefinitions);
    for (const Step &step : kSteps) {
        Outcome outcome = router.flash(step.words);
        std::string words;
        for (const std::string &word : step.words) {
            words += word + " ";
        }
        EXPECT_EQ(outcome.status, step.status) << words << outcome.output;
        if (step.status == 0) {
            EXPECT_EQ(outcome.output, step.output) << words;
        } else {
            EXPECT_EQ(outcome.output.substr(0, std::string(step.output).size()), step.output) << words;
        }
    }
}

TEST(Flash, AllPrintsEveryItemOnce) {
    Router router(kDefinitions);
    ASSERT_EQ(router.flash({"boot"}).status, 0);
    std::string output = router.flash({"all"}).output;
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 6 + 2 * 12);
    EXPECT_EQ(output.find("MIB_BYTE=7\n"), 0U);
    EXPECT_NE(output.find("\nWLAN0_VA1_SSID=second\n"), std::string::npos);
    EXPECT_EQ(output, router.flash({"settings"}).output);
}

TEST(Flash, ARootThatIsNotThereIsSaid) {
    Router router(kDefinitions);
    Outcome outcome = router.flash({"--root", "/nowhere/at/all", "boot"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "flash: /nowhere/at/all: No such file or directory\n");
}

TEST(Flash, HelpNamesEveryCommand) {
    Outcome outcome = Router("").flash({"--help"});
    EXPECT_EQ(outcome.status, 0);
    for (const char *word : {"get", "set", "all", "settings", "commit", "save", "load", "default", "boot", "--fresh",
                             "--wlan", "--root"}) {
        EXPECT_NE(outcome.output.find(word), std::string::npos) << word;
    }
}

}  // namespace
