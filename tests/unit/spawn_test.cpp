// SPDX-License-Identifier: MIT
#include "base/spawn.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <atomic>
#include <thread>

namespace {

// The timer that ends a program, as the kernel has it while one runs.
TEST(Spawn, GivesAProgramTenSeconds) {
    std::atomic<bool> ended = false;
    std::thread program([&] {
        const char *const words[] = {"sleep", "60", nullptr};
        run_program(words);
        ended = true;
    });
    itimerval timer = {};
    while (!ended && timer.it_value.tv_sec == 0) {
        std::this_thread::yield();
        getitimer(ITIMER_REAL, &timer);
    }
    EXPECT_FALSE(ended);
    EXPECT_LE(timer.it_value.tv_sec, 10);
    EXPECT_EQ(timer.it_interval.tv_sec, 0);
    const itimerval now = {
        {0, 0},
        {0, 1}
    };
    setitimer(ITIMER_REAL, &now, nullptr);
    program.join();
    getitimer(ITIMER_REAL, &timer);
    EXPECT_EQ(timer.it_value.tv_sec, 0);
    EXPECT_EQ(timer.it_value.tv_usec, 0);
}

}  // namespace
