// SPDX-License-Identifier: MIT
#include "base/command.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>

namespace {

TEST(Commands, AreAwaitedWhateverTheWebServerIgnores) {
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(run_command("true"), 0);
    EXPECT_NE(run_command("false"), 0);
    signal(SIGCHLD, SIG_IGN);
    Pipe output = open_command("echo text");
    ASSERT_TRUE(output);
    char line[8] = {};
    EXPECT_STREQ(fgets(line, sizeof line, output.get()), "text\n");
    EXPECT_EQ(pclose(output.release()), 0);
}

}  // namespace
