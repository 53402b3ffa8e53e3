// SPDX-License-Identifier: MIT
// The head of an SCGI request: what is taken, and everything that is not.
#include "resident/scgi.h"

#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

const std::string kGood = "CONTENT_LENGTH\0005\0SCGI\0001\0REMOTE_ADDR\000192.168.1.100\0"s;

std::string in_netstring(const std::string &block) {
    return std::to_string(block.size()) + ":" + block + ",";
}

// What read_head() says of bytes that arrive on a connection which then ends. `rest` is what it leaves there.
const char *read_all(const std::string &bytes, ScgiHead &head, std::string *rest = nullptr) {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    const char *fault = read_head(ends[0], head);
    if (rest != nullptr) {
        char left[64];
        const ssize_t count = read(ends[0], left, sizeof left);
        rest->assign(left, count > 0 ? static_cast<size_t>(count) : 0);
    }
    close(ends[0]);
    return fault;
}

const char *read_all(const std::string &bytes) {
    ScgiHead head;
    return read_all(bytes, head);
}

TEST(ScgiHead, TellsLengthAndAddressAndLeavesTheBody) {
    ScgiHead head;
    std::string rest;
    ASSERT_EQ(read_all(in_netstring(kGood) + "{\"a\"", head, &rest), nullptr);
    EXPECT_STREQ(head.content_length, "5");
    EXPECT_STREQ(head.remote_address, "192.168.1.100");
    EXPECT_EQ(rest, "{\"a\"");
}

TEST(ScgiHead, LacksWhatTheWebServerDoesNotTell) {
    ScgiHead head;
    ASSERT_EQ(read_all(in_netstring("SCGI\0001\0"s), head), nullptr);
    EXPECT_EQ(head.content_length, nullptr);
    EXPECT_EQ(head.remote_address, nullptr);
}

TEST(ScgiHead, PassesOverOtherNamesAndTheirRepetition) {
    ScgiHead head;
    ASSERT_EQ(read_all(in_netstring("HTTP_A\0x\0HTTP_A\0y\0EMPTY\0\0"s + kGood), head), nullptr);
    EXPECT_STREQ(head.content_length, "5");
}

TEST(ScgiHead, TakesAnEmptyValueForOneThatIsTold) {
    ScgiHead head;
    ASSERT_EQ(read_all(in_netstring("CONTENT_LENGTH\0\0SCGI\0001\0"s), head), nullptr);
    EXPECT_STREQ(head.content_length, "");
}

TEST(ScgiHead, HasTheLongestBlock) {
    const std::string name = "LONG\0"s;
    const std::string block = kGood + name + std::string(kMostHead - kGood.size() - name.size() - 1, 'x') + "\0"s;
    ASSERT_EQ(block.size(), kMostHead);
    ScgiHead head;
    ASSERT_EQ(read_all(in_netstring(block), head), nullptr);
    EXPECT_STREQ(head.content_length, "5");
}

struct Bad {
    const char *what;
    std::string bytes;
    const char *fault;
};

TEST(ScgiHead, RefusesWhatIsNone) {
    const std::string other_version = "CONTENT_LENGTH\0005\0SCGI\0002\0"s;
    const Bad table[] = {
        {"nothing",                    "",                                                   kNothingSent                             },
        {"no number",                  ":",                                                  "the head does not begin with its length"},
        {"text",                       "GET / HTTP/1.1\r\n\r\n",                             "the head does not begin with its length"},
        {"a sign",                     "-5:abcde,",                                          "the head does not begin with its length"},
        {"blanks",                     " 5:abcde,",                                          "the head does not begin with its length"},
        {"a leading zero",             "0" + in_netstring(kGood),                            "the head does not begin with its length"},
        {"half a number",              "12",                                                 "the head is cut"                        },
        {"one byte too long",          "65536:",                                             "the head is too long"                   },
        {"a huge number",              "99999999999999999999999999:",                        "the head is too long"                   },
        {"an empty block",             "0:,",                                                "the head's last value is not ended"     },
        {"half a block",               "50:CONTENT_LENGTH",                                  "the head is cut"                        },
        {"no comma",                   std::to_string(kGood.size()) + ":" + kGood,           "the head is cut"                        },
        {"another end",                std::to_string(kGood.size()) + ":" + kGood + ";",     "the head is not ended by a comma"       },
        {"a length that is too small", std::to_string(kGood.size() - 1) + ":" + kGood + ",",
         "the head is not ended by a comma"                                                                                           },
        {"no terminator",              in_netstring("SCGI\0001"s),                           "the head's last value is not ended"     },
        {"a name alone",               in_netstring("SCGI\0001\0CONTENT_LENGTH\0"s),         "the head has a name without a value"    },
        {"no name",                    in_netstring("\0value\0SCGI\0001\0"s),                "the head has a value without a name"    },
        {"zeros",                      in_netstring(std::string(16,                          '\0')),                                    "the head has a value without a name"},
        {"two lengths",                            in_netstring(kGood + "CONTENT_LENGTH\0006\0"s),                                                                    "the head has a name twice"                                   },
        {"two addresses",                            in_netstring(kGood + "REMOTE_ADDR\000127.0.0.1\0"s),                                                                  "the head has a name twice"},
        {"two versions",                            in_netstring(kGood + "SCGI\0001\0"s),                                                                   "the head has a name twice"                                                   },
        {"no version",                            in_netstring("CONTENT_LENGTH\0005\0"s),                                                                     "the head is not one of SCGI"},
        {"another version",                            in_netstring(other_version),                                                                "the head is not one of SCGI"                                                         },
    };
    for (const Bad &bad : table) {
        const char *fault = read_all(bad.bytes);
        EXPECT_STREQ(fault, bad.fault) << bad.what;
    }
}

TEST(ScgiHead, OutlivesEveryCutAndEveryChangedByte) {
    const std::string whole = in_netstring(kGood);
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(read_all(whole.substr(0, length)), nullptr) << length;
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'\0', ':', ',', '0', '9', '\xff'}) {
            std::string changed = whole;
            changed[at] = byte;
            ScgiHead head;
            if (read_all(changed, head) == nullptr && head.content_length != nullptr) {
                EXPECT_LE(std::string(head.content_length).size(), whole.size());
            }
        }
    }
}

}  // namespace
