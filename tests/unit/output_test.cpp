// SPDX-License-Identifier: MIT
#include "base/output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

namespace {

constexpr int kRoom = 4096;  // the least that a pipe has

std::string text_of(int length) {
    std::string text;
    for (int i = 0; i < length; ++i) {
        text += static_cast<char>('a' + i % 23);
    }
    return text;
}

void wait_a_little() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// A pipe with room for kRoom bytes, whose reader waits until it is full, interrupts the writer, and only then reads.
class SlowPipe {
  public:
    SlowPipe() {
        struct sigaction action = {};
        action.sa_handler = [](int) { ++interruptions; };  // and without SA_RESTART
        sigaction(SIGUSR1, &action, &before_);
        interruptions = 0;
        EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0);
        EXPECT_GE(fcntl(ends_[1], F_SETPIPE_SZ, kRoom), kRoom);
    }

    ~SlowPipe() {
        close(ends_[0]);
        sigaction(SIGUSR1, &before_, nullptr);
    }

    ssize_t fill() { return write(ends_[1], text_of(kRoom).data(), kRoom); }

    // What `write_to` wrote into it, behind the first `skipped` bytes.
    template <typename WriteTo>
    std::string read_slowly(ssize_t skipped, WriteTo write_to) {
        std::string seen;
        const pthread_t writer = pthread_self();
        std::thread reader([this, &seen, writer] {
            int waiting = 0;
            while (!written_ && ioctl(ends_[0], FIONREAD, &waiting) == 0 && waiting < kRoom) {
                wait_a_little();
            }
            // The writer may not have come to its call yet: it is interrupted until it has surely been in it.
            for (int i = 0; i < 20; ++i) {
                wait_a_little();
                pthread_kill(writer, SIGUSR1);
            }
            char part[1000];
            for (ssize_t count = 0; (count = read(ends_[0], part, sizeof part)) > 0;) {
                seen.append(part, static_cast<size_t>(count));
            }
        });
        EXPECT_TRUE(write_to(ends_[1]));
        written_ = true;
        close(ends_[1]);
        reader.join();
        EXPECT_GT(interruptions, 0);
        return seen.substr(static_cast<size_t>(skipped));
    }

    static volatile sig_atomic_t interruptions;

  private:
    int ends_[2] = {-1, -1};
    std::atomic<bool> written_ = false;
    struct sigaction before_ = {};
};

volatile sig_atomic_t SlowPipe::interruptions = 0;

struct Lengths {
    int first;
    int second;
};

constexpr Lengths kLengths[] = {
    {0,    0   },
    {1,    0   },
    {0,    1   },
    {1,    1   },
    {100,  1000},
    {1000, 100 },
};

// Each is longer than the pipe together, and the pipe is full within the first, at its end, at once behind it, or in
// the second.
constexpr Lengths kLongLengths[] = {
    {5000, 0   },
    {5000, 1   },
    {5000, 5000},
    {4097, 10  },
    {4096, 1000},
    {4095, 1000},
    {1000, 9000},
    {1,    4097},
    {0,    5000},
};

TEST(Output, IsWhole) {
    for (const Lengths &lengths : kLengths) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const std::string first = text_of(lengths.first);
        const std::string second = text_of(lengths.second);
        EXPECT_TRUE(write_all(ends[1], first.data(), first.size()));
        errno = EINTR;  // of an earlier call, which says nothing of this one
        EXPECT_TRUE(write_both(ends[1], first.data(), first.size(), second.data(), second.size()));
        close(ends[1]);
        char seen[4096];
        const ssize_t count = read(ends[0], seen, sizeof seen);
        EXPECT_EQ(std::string(seen, static_cast<size_t>(count)), first + first + second);
        close(ends[0]);
    }
}

TEST(Output, IsWholeWhereTheReaderTakesItInPortions) {
    for (const Lengths &lengths : kLongLengths) {
        const std::string first = text_of(lengths.first);
        const std::string second = text_of(lengths.second);
        EXPECT_EQ(
            SlowPipe().read_slowly(
                0,
                [&](int file) { return write_both(file, first.data(), first.size(), second.data(), second.size()); }),
            first + second)
            << lengths.first << " " << lengths.second;
    }
    const std::string text = text_of(10000);
    EXPECT_EQ(SlowPipe().read_slowly(0, [&](int file) { return write_all(file, text.data(), text.size()); }), text);
}

TEST(Output, GoesOnBehindAnInterruption) {
    for (const Lengths &lengths : {
             Lengths{10,   20  },
             Lengths{5000, 5000}
    }) {
        const std::string first = text_of(lengths.first);
        const std::string second = text_of(lengths.second);
        SlowPipe pipe;
        EXPECT_EQ(
            pipe.read_slowly(
                pipe.fill(),
                [&](int file) { return write_both(file, first.data(), first.size(), second.data(), second.size()); }),
            first + second);
    }
    const std::string text = text_of(100);
    SlowPipe pipe;
    EXPECT_EQ(pipe.read_slowly(pipe.fill(), [&](int file) { return write_all(file, text.data(), text.size()); }), text);
}

TEST(Output, TellsThatNobodyReads) {
    signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    EXPECT_FALSE(write_all(ends[1], "text", 4));
    EXPECT_EQ(errno, EPIPE);
    errno = 0;
    EXPECT_FALSE(write_both(ends[1], "text", 4, "more", 4));
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
    signal(SIGPIPE, SIG_DFL);
}

}  // namespace
