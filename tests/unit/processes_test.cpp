// SPDX-License-Identifier: MIT
#include "kernel/processes.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "base/shortage.h"

namespace {

enum Outcome { kNoted, kNotNoted, kFound, kNotShort };

// What a process without any memory left finds.
[[noreturn]] void look_without_memory() {
    rlimit limit = {};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = 1;
    setrlimit(RLIMIT_AS, &limit);
    constexpr size_t kMost = 256 << 20;
    constexpr size_t kPiece = 4096;
    size_t taken = 0;
    while (taken < kMost && malloc(kPiece) != nullptr) {
        taken += kPiece;
    }
    if (taken >= kMost) {
        _exit(kNotShort);
    }
    if (signal_processes("nobody", 0)) {
        _exit(kFound);
    }
    _exit(was_short() ? kNoted : kNotNoted);
}

TEST(Processes, NotesWhenThereIsNoMemoryToLookForThem) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer ends the process";
#endif
    const pid_t process = fork();
    ASSERT_GE(process, 0);
    if (process == 0) {
        look_without_memory();
    }
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kNotShort) {
        GTEST_SKIP() << "memory is not limited here, as in an emulator";
    }
    EXPECT_EQ(WEXITSTATUS(status), kNoted);
}

}  // namespace
