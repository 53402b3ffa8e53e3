// SPDX-License-Identifier: MIT
// libdriver.so: the router's clock, which a file sets and hurries.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>

#include "tests/store/router.h"

namespace {

constexpr int64_t kSecond = 1000000000;
constexpr int64_t kSomeday = 1700395200;  // far from any day on which this runs

// The library's functions. It is loaded, not linked, so that the tests themselves have the PC's clock.
struct Clock {
    int (*clock_gettime)(clockid_t, timespec *);
    int (*gettimeofday)(timeval *, void *);
    time_t (*time)(time_t *);
    int (*sysinfo)(struct sysinfo *);
};

Clock router_clock;

template <typename Function>
void find_function(void *library, const char *name, Function *&function) {
    function = reinterpret_cast<Function *>(dlsym(library, name));
    ASSERT_NE(function, nullptr) << name;
}

class ClockTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        void *library = dlopen(DRIVER_PATH, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        find_function(library, "clock_gettime", router_clock.clock_gettime);
        find_function(library, "gettimeofday", router_clock.gettimeofday);
        find_function(library, "time", router_clock.time);
        find_function(library, "sysinfo", router_clock.sysinfo);
    }

    ClockTest() { std::filesystem::create_directories(router_.path("/outside")); }

    void put(const std::string &line) { write_file(router_.path("/outside/clock"), line); }

    // A line by which it is Someday now, and the router is up for that long.
    static std::string someday(int64_t uptime, int64_t rate, int64_t seconds_ago = 0) {
        timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        const int64_t pc = (now.tv_sec - seconds_ago) * kSecond + now.tv_nsec;
        return std::to_string(pc) + " " + std::to_string(kSomeday * kSecond) + " " + std::to_string(uptime * kSecond) +
               " " + std::to_string(rate) + "\n";
    }

    Router router_{"1 MIB_WLAN_SSID text[33] interface \"\"\n"};
};

bool is_near(int64_t seconds, int64_t wanted) {
    constexpr int64_t kPatience = 30;  // of a busy machine
    return seconds >= wanted && seconds < wanted + kPatience;
}

int64_t seconds_of(clockid_t id) {
    timespec now = {};
    REQUIRE(router_clock.clock_gettime(id, &now) == 0 && now.tv_nsec >= 0 && now.tv_nsec < kSecond);
    return now.tv_sec;
}

TEST_F(ClockTest, IsThePcsUntilItIsSet) {
    for (const char *line : {"", "1 2 3\n", "1 2 3 4", "1 2 3 x\n", "noise"}) {
        if (*line != '\0') {
            put(line);
        }
        EXPECT_EQ(router_.run([] {
            struct sysinfo pc = {};
            struct sysinfo router = {};
            REQUIRE(sysinfo(&pc) == 0 && router_clock.sysinfo(&router) == 0 && is_near(router.uptime, pc.uptime) &&
                    is_near(seconds_of(CLOCK_BOOTTIME), pc.uptime - 1));
            const time_t now = time(nullptr);
            REQUIRE(is_near(router_clock.time(nullptr), now) && is_near(seconds_of(CLOCK_REALTIME), now));
        }),
                  0)
            << line;
    }
}

TEST_F(ClockTest, IsTheSameForAllWhoAsk) {
    put(someday(90000, 1000));
    EXPECT_EQ(router_.run([] {
        time_t told = 0;
        timeval parts = {};
        struct sysinfo info = {};
        REQUIRE(is_near(router_clock.time(&told), kSomeday) && is_near(told, kSomeday));
        REQUIRE(is_near(seconds_of(CLOCK_REALTIME), kSomeday) && is_near(seconds_of(CLOCK_REALTIME_COARSE), kSomeday));
        REQUIRE(router_clock.gettimeofday(&parts, nullptr) == 0 && is_near(parts.tv_sec, kSomeday) &&
                parts.tv_usec < 1000000);
        REQUIRE(router_clock.sysinfo(&info) == 0 && is_near(info.uptime, 90000) && info.totalram > 0);
        REQUIRE(is_near(seconds_of(CLOCK_BOOTTIME), 90000));
    }),
              0);
}

TEST_F(ClockTest, LeavesTheClockByWhichProgramsWait) {
    put(someday(0, 60000, 100));
    EXPECT_EQ(router_.run([] {
        timespec pc = {};
        clock_gettime(CLOCK_MONOTONIC, &pc);
        REQUIRE(is_near(seconds_of(CLOCK_MONOTONIC), pc.tv_sec));
        REQUIRE(router_clock.clock_gettime(99, &pc) == -1 && errno == EINVAL);
    }),
              0);
}

TEST_F(ClockTest, Hurries) {
    put(someday(5, 3600000, 10));
    EXPECT_EQ(router_.run([] {
        const time_t passed = router_clock.time(nullptr) - kSomeday;
        REQUIRE(passed >= 36000 && passed < 36000 + 30 * 3600);
        struct sysinfo info = {};
        REQUIRE(router_clock.sysinfo(&info) == 0 && info.uptime >= 36005 && seconds_of(CLOCK_BOOTTIME) >= 36005);
    }),
              0);
    put(someday(5, 0, 1000));
    EXPECT_EQ(
        router_.run([] { REQUIRE(router_clock.time(nullptr) == kSomeday && router_clock.time(nullptr) == kSomeday); }),
        0);
}

TEST_F(ClockTest, IsSeenToChangeByAProgramThatRuns) {
    EXPECT_EQ(router_.run([] {
        REQUIRE(is_near(router_clock.time(nullptr), time(nullptr)));
        write_file("/outside/clock.new", someday(0, 1000));
        REQUIRE(rename("/outside/clock.new", "/outside/clock") == 0);
        REQUIRE(is_near(router_clock.time(nullptr), kSomeday));
        errno = 77;
        unlink("/outside/clock");
        errno = 77;
        REQUIRE(is_near(router_clock.time(nullptr), time(nullptr)) && errno == 77);
    }),
              0);
}

}  // namespace
