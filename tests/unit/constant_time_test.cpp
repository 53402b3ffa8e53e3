// SPDX-License-Identifier: MIT
// A comparison of secrets takes as long whatever is given: counted in instructions, which no other load on the machine
// changes.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <string>

#include "base/same_secret.h"

namespace {

using Compare = bool (*)(const char *, const char *);

// Runs to its second stop, a step at a time. The steps between the two; below 0: processes cannot be traced here.
long count_steps(pid_t process) {
    int status = 0;
    if (waitpid(process, &status, 0) != process || !WIFSTOPPED(status)) {
        return -1;
    }
    for (long steps = 0;; ++steps) {
        if (ptrace(PTRACE_SINGLESTEP, process, nullptr, nullptr) != 0 || waitpid(process, &status, 0) != process ||
            !WIFSTOPPED(status)) {
            return -1;
        }
        if (WSTOPSIG(status) != SIGTRAP) {
            return steps;
        }
    }
}

// The instructions of one comparison, and of the two stops around it.
long count_instructions(Compare compare, const std::string &secret, const std::string &given) {
    const pid_t process = fork();
    if (process == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(1);
        }
        const pid_t own = getpid();
        kill(own, SIGSTOP);
        const bool same = compare(secret.c_str(), given.c_str());
        kill(own, SIGSTOP);
        _exit(same ? 1 : 0);
    }
    const long steps = count_steps(process);
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    return steps;
}

// Ends at the first byte that is another, as strcmp() may.
bool naive_compare(const char *secret, const char *given) {
    volatile size_t at = 0;
    while (secret[at] != '\0' && secret[at] == given[at]) {
        at = at + 1;
    }
    return secret[at] == given[at];
}

// The secret with another byte at this place.
std::string wrong_at(std::string secret, size_t place) {
    secret[place] = static_cast<char>(secret[place] ^ 1);
    return secret;
}

class ConstantTime : public testing::Test {
  protected:
    const std::string secret_ = "Us0123456789abcdef0123456789abcdef";
    void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
        GTEST_SKIP() << "checks that depend on where a text lies would be counted, too";
#endif
        if (count_instructions(naive_compare, "a", "a") < 0) {
            GTEST_SKIP() << "processes cannot be traced here";
        }
    }
};

TEST_F(ConstantTime, IsSeenByCounting) {
    const long first = count_instructions(naive_compare, secret_, wrong_at(secret_, 0));
    EXPECT_EQ(count_instructions(naive_compare, secret_, wrong_at(secret_, 0)), first) << "twice the same";
    EXPECT_GT(count_instructions(naive_compare, secret_, wrong_at(secret_, 1)), first) << "a byte more";
}

TEST_F(ConstantTime, IsTheSameWhereverTheFirstWrongByteIs) {
    const long right = count_instructions(same_secret, secret_, secret_);
    for (size_t place = 0; place < secret_.size(); ++place) {
        EXPECT_EQ(count_instructions(same_secret, secret_, wrong_at(secret_, place)), right) << place;
    }
    EXPECT_EQ(count_instructions(same_secret, secret_, std::string(secret_.size(), 'x')), right) << "nothing right";
}

TEST_F(ConstantTime, DoesNotTellHowLongTheSecretIs) {
    const std::string given(20, 'x');
    const long right = count_instructions(same_secret, given, given);
    for (size_t length = 0; length <= 31; ++length) {  // an account has 31 bytes at most
        EXPECT_EQ(count_instructions(same_secret, std::string(length, 'x'), given), right) << length;
    }
}

}  // namespace
