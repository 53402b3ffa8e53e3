// SPDX-License-Identifier: MIT
#include "gateway/handler/reply.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "base/shortage.h"
#include "login/login.h"

namespace {

TEST(PrintReply, OutlivesAClientThatHasHungUp) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    fflush(stdout);
    const int own = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    signal(SIGPIPE, SIG_DFL);
    print_reply(Json(cJSON_CreateObject()));
    dup2(own, STDOUT_FILENO);
    close(own);
    close(ends[1]);
    EXPECT_EQ(signal(SIGPIPE, SIG_DFL), SIG_DFL) << "the commands that follow would not notice a closed pipe";
}

TEST(PrintReply, IsSilentWhereMemoryRanOut) {
    EXPECT_EXIT(
        {
            note_shortage();
            print_reply(Json(cJSON_CreateObject()));
            fputs(reply_is_lost() ? "lost" : "not lost", stderr);
            _exit(0);
        },
        testing::ExitedWithCode(0), "^app.cgi: out of memory: there is no reply\nlost$");
}

std::string login_reply(int code) {
    testing::internal::CaptureStdout();
    send_login_response(Json(), code);
    return testing::internal::GetCapturedStdout();
}

TEST(LoginReply, HasATextForEveryCode) {
    const struct {
        int code;
        std::string text;
    } rows[] = {
        {kLoginSuccess, "login success"},
        {kNeedLogin,    "need login"   },
        {kLoginFail,    "login fail"   },
        {5,             "unknow error" },
        {8,             "unknow error" },
        {-1,            "unknow error" },
    };
    for (const auto &row : rows) {
        EXPECT_EQ(login_reply(row.code), "{\n\t\"action\":\t\"loginRsp\",\n\t\"result\":\t{\n\t\t\"error\":\t" +
                                             std::to_string(row.code) + ",\n\t\t\"msg\":\t\"" + row.text +
                                             "\"\n\t}\n}\n");
    }
}

}  // namespace
