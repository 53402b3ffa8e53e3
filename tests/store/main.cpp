// SPDX-License-Identifier: MIT
// Runs the tests of the store: build/.../store_tests, without arguments.

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/store/router.h"

namespace {

// The tests give processes a root of their own. An ordinary user may do that in a user namespace.
void become_root() {
    if (geteuid() == 0) {
        return;
    }
    std::string uid_map = "0 " + std::to_string(geteuid()) + " 1";
    std::string gid_map = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER) == 0) {
        write_file("/proc/self/setgroups", "deny");
        write_file("/proc/self/uid_map", uid_map);
        write_file("/proc/self/gid_map", gid_map);
    }
}

}  // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    setenv("ASAN_OPTIONS", "detect_leaks=0", 0);  // a search for leaks needs more of /proc than the roots here have
    become_root();
    if (Router("").run([] {}) != 0) {
        fprintf(stderr, "store_tests: no process can get a root of its own here: run it as root\n");
        return 77;  // by which test drivers know a test that the machine does not allow
    }
    return RUN_ALL_TESTS();
}
