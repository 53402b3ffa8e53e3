// SPDX-License-Identifier: MIT
#include "login/session_file.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SessionFile, HasTheWordBehindTheKeyForItsId) {
    for (const char *content : {"sessionid=Us1", "sessionid= \t\nUs1", "sessionid=Us1 more", "sessionid=Us1\nmore\n"}) {
        std::string text = content;
        EXPECT_STREQ(find_session_id(text.data()), "Us1") << content;
    }
    for (const char *content :
         {"", "Us1", "session=Us1", " sessionid=Us1", "sessionid", "sessionid=", "sessionid= \n"}) {
        std::string text = content;
        const char *const end = text.data() + text.size();
        EXPECT_EQ(find_session_id(text.data()), end) << content;
    }
}

}  // namespace
