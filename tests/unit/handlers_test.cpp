// SPDX-License-Identifier: MIT
#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/json.h"
#include "base/resource.h"
#include "base/text.h"
#include "gateway/dispatch.h"
#include "gateway/handler/objects.h"
#include "gateway/handler/request_state.h"
#include "login/login.h"
#include "objects/diagnostics.h"
#include "platform/apmib.h"
#include "store/items.h"
#include "store/table.h"
#include "store/wlan.h"

namespace {

int g_unreadable;  // the number of an item

}  // namespace

// The unit tests' store: all of it reads as zero, which the caller's buffer is already, but for one item.
int apmib_get(int id, void * /*value*/) {
    return id != g_unreadable ? 1 : 0;
}

namespace {

// A store that takes entry 256 for 0 would give a reader with a damaged count entries for ever.
TEST(Tables, EndWithTheHighestNumberOfAnEntry) {
    AclEntry entry;
    EXPECT_TRUE(table_read(MIB_WLAN_ACL_NUM, 255, entry));
    EXPECT_FALSE(table_read(MIB_WLAN_ACL_NUM, 256, entry));
}

// The store may leave bytes of an entry alone, and what a program had in them before is nobody's business.
TEST(Tables, HaveEntriesOfZerosButForWhatTheStoreWrites) {
    AclEntry entry;
    memset(&entry, 0xff, sizeof entry);
    AclEntry asked = {};
    *reinterpret_cast<uint8_t *>(&asked) = 7;  // of which entry the store is asked
    EXPECT_TRUE(table_read(MIB_WLAN_ACL_NUM, 7, entry));
    EXPECT_EQ(memcmp(&entry, &asked, sizeof entry), 0);
}

// The dispatcher calls no handler whose object the request does not name, so no request shows what one would do then.

TEST(Setters, LeaveAllAloneWithoutTheirObject) {
    const Json request(cJSON_Parse(R"({"action":"set"})"));
    for (const ObjectRow *row = ObjectHandlerTable; row->name[0] != '\0'; ++row) {
        if (row->set == nullptr) {
            continue;
        }
        put(err_msg, "as it was");
        const Json reply(cJSON_CreateObject());
        // A logout that was not asked for has not succeeded.
        EXPECT_EQ(row->set(row->name, request.get(), reply.get()), std::string(row->name) == "logout" ? -1 : 0)
            << row->name;
        EXPECT_STREQ(err_msg, "as it was") << row->name;
        EXPECT_EQ(reply->child, nullptr) << row->name;
        EXPECT_EQ(save_config_flag | app_reinit_flag | wifi_reinit_flag | lan_reinit_flag | wan_reinit_flag, 0)
            << row->name;
    }
}

TEST(NetDig, IsInTheReplyAlsoWithoutARequestForIt) {
    const Json request(cJSON_Parse(R"({"action":"get"})"));
    const Json reply(cJSON_CreateObject());
    EXPECT_EQ(app_get_netDig_handler("netDig", request.get(), reply.get()), -1);
    EXPECT_STREQ(err_msg, "ERROR: not find netDig Object");
    const cJSON *answer = find_item(reply.get(), "netDig");
    ASSERT_TRUE(cJSON_IsObject(answer));
    EXPECT_EQ(answer->child, nullptr);
}

// Nothing behind it in a request reads an item of an interface, so no request shows this either.
TEST(Mesh, LeavesTheSelectionAsItWasAlsoWhenItCannotRead) {
    const Json request(cJSON_Parse(R"({"action":"get","mesh":{}})"));
    for (const int unreadable : {0, MIB_MESH_ROLE.id, MIB_WLAN_MESH_BSS_TYPE.id, MIB_WLAN_DISABLED.id}) {
        g_unreadable = unreadable;
        SetWlan_idx({kRadio2G, kGuestAccessPoint});
        const Json reply(cJSON_CreateObject());
        EXPECT_EQ(app_get_mesh_handler("mesh", request.get(), reply.get()), 0);
        EXPECT_EQ(wlan_idx, kRadio2G) << unreadable;
        EXPECT_EQ(vwlan_idx, kGuestAccessPoint) << unreadable;
    }
    g_unreadable = 0;
}

TEST(Login, NeedsARequest) {
    EXPECT_EQ(app_action_login(nullptr), -1);
}

TEST(ErrorRequest, IsNoFailure) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(send_error_request(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "{\n\t\"result\":\t{\n\t\t\"error\":\t\"-1\",\n\t\t\"msg\":\t\"error_request\"\n\t}\n}\n");
}

}  // namespace
