// SPDX-License-Identifier: MIT
#include "base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string made_valid(std::string text) {
    make_valid_utf8(text.data());
    return text;
}

TEST(MakeValidUtf8, LeavesValidTextsAlone) {
    for (const char *text : {"", "plain \x01\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf",
                             "\xee\x80\x80", "\xef\xbf\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf",
                             "K\xc3\xbc"
                             "che \xe2\x82\xac \xf0\x9f\x98\x80"}) {
        EXPECT_EQ(made_valid(text), text);
    }
}

TEST(MakeValidUtf8, MarksEachByteThatIsNoPartOfACharacter) {
    struct Row {
        const char *text;
        const char *valid;
    };
    for (const Row &row : {
             Row{"\x80",                 "?"             }, // a byte of a character's rest alone
             Row{"\xbf"
                 "a",   "?a"            },
             Row{"\xc0\x80",             "??"            }, // more bytes than the character needs
             Row{"\xc1\xbf",             "??"            },
             Row{"\xe0\x9f\xbf",         "???"           },
             Row{"\xf0\x8f\xbf\xbf",     "????"          },
             Row{"\xed\xa0\x80",         "???"           }, // half of a surrogate pair
             Row{"\xed\xbf\xbf",         "???"           },
             Row{"\xf4\x90\x80\x80",     "????"          }, // beyond the last character
             Row{"\xf5\x80\x80\x80",     "????"          },
             Row{"\xff\xfe",             "??"            },
             Row{"\xc3",                 "?"             }, // cut off
             Row{"ab\xe2\x82",           "ab??"          },
             Row{"\xf0\x9f\x98",         "???"           },
             Row{"\xc3"
                 "A",   "?A"            },
             Row{"\xe2\x82"
                 "A",   "??A"           },
             Row{"\xe2\x82\xe2\x82\xac", "??\xe2\x82\xac"}, // cut off by a whole one
    }) {
        EXPECT_EQ(made_valid(row.text), row.valid);
    }
}

TEST(MakeValidUtf8, KnowsEveryFirstByte) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string alone(1, static_cast<char>(byte));
        EXPECT_EQ(made_valid(alone), byte < 0x80 ? alone : "?") << byte;
    }
}

}  // namespace
