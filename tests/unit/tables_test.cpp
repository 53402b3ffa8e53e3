#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gateway/actions.h"
#include "gateway/dispatch.h"
#include "gateway/handler/message.h"

namespace {

// Names in protocol order, and which of the two handlers the protocol knows: g, s or gs.
const std::vector<std::pair<std::string, std::string>> kProtocol = {
    {"dutInfo",     "gs"},
    {"wanInfo",     "gs"},
    {"wanAdvance",  "gs"},
    {"wanStatus",   "g" },
    {"wifi",        "gs"},
    {"wifiAdvance", "gs"},
    {"wifiguest",   "gs"},
    {"wps",         "gs"},
    {"wifiAcc",     "gs"},
    {"opMode",      "gs"},
    {"timeZone",    "gs"},
    {"lan",         "gs"},
    {"lanStatus",   "g" },
    {"logout",      "s" },
    {"sys",         "gs"},
    {"mesh",        "gs"},
    {"meshStatus",  "g" },
    {"Sec",         "gs"},
    {"netAcc",      "gs"},
    {"urlfilter",   "gs"},
    {"netDig",      "g" },
    {"app",         "gs"},
    {"qos",         "gs"},
};

TEST(ObjectHandlerTable, HasTheRowsOfTheProtocolInOrder) {
    const ObjectRow *row = ObjectHandlerTable;
    for (const auto &[name, handlers] : kProtocol) {
        ASSERT_STREQ(row->name, name.c_str());
        EXPECT_EQ(row->get != nullptr, handlers.find('g') != std::string::npos) << name;
        EXPECT_EQ(row->set != nullptr, handlers.find('s') != std::string::npos) << name;
        ++row;
    }
    EXPECT_STREQ(row->name, "");
    EXPECT_EQ(kProtocol.size(), 23U);
}

TEST(ActionTable, FindsNamesLetterForLetter) {
    EXPECT_NE(find_action("scan").handler, nullptr);
    EXPECT_NE(find_action("set").handler, nullptr);
    EXPECT_NE(find_action("get").handler, nullptr);
    EXPECT_NE(find_action("login").handler, nullptr);
    for (const char *name : {"", "Get", "SCAN", "get ", "gets", "ge"}) {
        EXPECT_EQ(find_action(name).handler, nullptr) << name;
        EXPECT_FALSE(find_action(name).open_to_guests) << name;
    }
    EXPECT_EQ(find_action(nullptr).handler, nullptr);
    EXPECT_FALSE(find_action(nullptr).open_to_guests);
}

TEST(ActionTable, LetsGuestsScanAndLogInOnly) {
    std::string open;
    for (const ActionRow *row = ActionTable; row->handler != nullptr; ++row) {
        open += row->open_to_guests ? std::string(row->name) + " " : "";
    }
    EXPECT_EQ(open, "scan login ");
}

// The record byte by byte, at offsets written down independently of the structure.
TEST(SysMsgRecord, LiesInMemoryAsTheDaemonReadsIt) {
    SysMsgRecord record = {};
    record.msg_type = 5;
    memset(record.firmware_url, 'u', sizeof record.firmware_url);
    memset(record.firmware_md5, 'm', sizeof record.firmware_md5);
    record.schedule_enable = 1;
    record.schedule_hour = 2;
    record.schedule_minute = 3;
    record.schedule_second = 4;
    record.schedule_week = 5;
    memset(record.sysconfArgv, 'a', sizeof record.sysconfArgv);

    std::string expected(364, '\0');
    expected[0] = 5;
    expected.replace(4, 128, std::string(128, 'u'));
    expected.replace(132, 33, std::string(33, 'm'));
    expected.replace(229, 5, "\1\2\3\4\5");
    expected.replace(236, 128, std::string(128, 'a'));
    const std::string bytes(reinterpret_cast<const char *>(&record), sizeof record);
    EXPECT_EQ(bytes.substr(4), expected.substr(4));
    EXPECT_EQ(record.msg_type, 5);

    SysMsgRecord report = {};
    report.report.interval = 2;
    report.report.count = 30;
    memset(report.report.guid, 'g', sizeof report.report.guid);
    std::string report_bytes(reinterpret_cast<const char *>(&report), sizeof report);
    int32_t interval = 0;
    int32_t count = 0;
    memcpy(&interval, &report_bytes[236], 4);
    memcpy(&count, &report_bytes[240], 4);
    EXPECT_EQ(interval, 2);
    EXPECT_EQ(count, 30);
    EXPECT_EQ(report_bytes.substr(244), std::string(40, 'g') + std::string(80, '\0'));
}

}  // namespace
