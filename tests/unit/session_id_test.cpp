// SPDX-License-Identifier: MIT
#include "login/session_id.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <string>

#include "base/resource.h"
#include "login/md5.h"

namespace {

TEST(SessionId, IsTheDigestOfUserAndSecond) {
    char id[kSessionIdSize] = {};
    const time_t before = time(nullptr);
    ASSERT_EQ(gen_sessionid("admin", id), 0);
    const time_t after = time(nullptr);
    bool found = false;
    for (time_t second = before; second <= after; ++second) {
        const OwnedText digest(MD5_encryption(("admin" + std::to_string(second)).c_str()));
        found = found || std::string(id) == std::string("Us") + digest.get();
    }
    EXPECT_TRUE(found) << id;
}

TEST(SessionId, DiffersBetweenUsers) {
    char first[kSessionIdSize] = {};
    char second[kSessionIdSize] = {};
    ASSERT_EQ(gen_sessionid("admin", first), 0);
    ASSERT_EQ(gen_sessionid("Admin", second), 0);
    EXPECT_STRNE(first, second);
    EXPECT_EQ(strlen(first), 34U);
    EXPECT_EQ(strlen(second), 34U);
}

}  // namespace
