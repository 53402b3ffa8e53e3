// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "gateway/actions.h"
#include "gateway/dispatch.h"
#include "gateway/handler/message.h"

namespace {

// Which objects there are, and in which order, is tests/structure/check_objects' affair, which reads the documentation.
TEST(ObjectHandlerTable, NamesEachObjectOnceAndEnds) {
    std::vector<std::string> names;
    const ObjectRow *row = ObjectHandlerTable;
    for (; *row->name != '\0'; ++row) {
        EXPECT_TRUE(row->get != nullptr || row->set != nullptr) << row->name;
        EXPECT_EQ(std::count(names.begin(), names.end(), row->name), 0) << row->name;
        names.emplace_back(row->name);
    }
    EXPECT_EQ(row->get, nullptr);
    EXPECT_EQ(row->set, nullptr);
    EXPECT_GE(names.size(), 23U);  // as many as there were: the protocol loses none
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
