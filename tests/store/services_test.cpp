// SPDX-License-Identifier: MIT
// The services that hand out a file on a signal.

#include "virtual_router/services/publish.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/store/router.h"

namespace {

constexpr char kSource[] = "/outside/source";
constexpr char kTarget[] = "/var/deep/down/target";
constexpr char kPidFile[] = "/var/run/sampler.pid";

int serve_with(const char *word) {
    char name[] = "sampler";
    char option[] = "--------";
    snprintf(option, sizeof(option), "%s", word);
    char *words[] = {name, option, nullptr};
    return serve({name, kSource, kTarget}, *word == '\0' ? 1 : 2, words);
}

bool await(const std::function<bool()> &condition) {
    for (int i = 0; i < 60000 && !condition(); i++) {
        usleep(1000);
    }
    return condition();
}

class OnSignal : public testing::Test {
  protected:
    OnSignal() : router_("") {
        std::filesystem::create_directories(router_.path("/outside"));
        std::filesystem::create_directories(router_.path("/var/run"));
    }

    bool exists(const std::string &path) const { return std::filesystem::exists(router_.path(path)); }

    // The content of a file; "-" without the file.
    std::string content(const std::string &path) const {
        return exists(path) ? read_file(router_.path(path)) : std::string("-");
    }

    // The process id that the service tells, or 0.
    pid_t told_pid() const { return exists(kPidFile) ? atoi(content(kPidFile).c_str()) : 0; }

    void put_source(const std::string &text) {
        write_file(router_.path("/outside/new"), text);
        std::filesystem::rename(router_.path("/outside/new"), router_.path(kSource));
    }

    pid_t start(const char *word) {
        return router_.start([=] { REQUIRE(serve_with(word) == 0); });
    }

    std::string entry(pid_t pid) const { return "/proc/" + std::to_string(pid) + "/stat"; }

    Router router_;
};

TEST_F(OnSignal, HandsOutItsFileAtTheStartAndOnEachSignal) {
    put_source("first");
    const pid_t service = start("-f");
    ASSERT_TRUE(await([&] { return told_pid() == service && exists(entry(service)); }));
    EXPECT_EQ(content(kPidFile), std::to_string(service) + "\n");
    EXPECT_EQ(content(kTarget), "first");
    EXPECT_EQ(content(entry(service)).find(std::to_string(service) + " (sampler) S 0"), 0U);
    for (const std::string &text : {std::string("second"), std::string(), std::string(300000, 'x')}) {
        put_source(text);
        ASSERT_EQ(kill(service, SIGUSR1), 0);
        EXPECT_TRUE(await([&] { return content(kTarget) == text; }));
    }
    EXPECT_FALSE(exists(std::string(kTarget) + ".new"));
    ASSERT_EQ(kill(service, SIGTERM), 0);
    EXPECT_EQ(wait_for(service), 0);
    EXPECT_FALSE(exists(entry(service)));
    EXPECT_EQ(content(kPidFile), "");
}

TEST_F(OnSignal, HandsOutNothingWhileThereIsNothing) {
    const pid_t service = start("-f");
    ASSERT_TRUE(await([&] { return told_pid() == service; }));
    ASSERT_EQ(kill(service, SIGUSR1), 0);
    usleep(20000);
    EXPECT_EQ(content(kTarget), "-");
    put_source("now");
    ASSERT_EQ(kill(service, SIGUSR1), 0);
    EXPECT_TRUE(await([&] { return content(kTarget) == "now"; }));
    std::filesystem::remove(router_.path(kSource));
    ASSERT_EQ(kill(service, SIGUSR1), 0);
    ASSERT_EQ(kill(service, SIGTERM), 0);
    EXPECT_EQ(wait_for(service), 0);
    EXPECT_EQ(content(kTarget), "now");
}

TEST_F(OnSignal, StaysWhenItsFileCannotBeWritten) {
    put_source("text");
    std::filesystem::create_directories(router_.path(kTarget));
    const pid_t service = start("-f");
    ASSERT_TRUE(await([&] { return told_pid() == service; }));
    ASSERT_EQ(kill(service, SIGUSR1), 0);
    usleep(20000);
    std::filesystem::remove(router_.path(kTarget));
    ASSERT_EQ(kill(service, SIGUSR1), 0);
    EXPECT_TRUE(await([&] { return content(kTarget) == "text"; }));
    kill(service, SIGTERM);
    EXPECT_EQ(wait_for(service), 0);
}

TEST_F(OnSignal, RunsInTheBackgroundOnce) {
    put_source("first");
    ASSERT_EQ(wait_for(start("")), 0);
    const pid_t service = told_pid();
    ASSERT_GT(service, 0);
    EXPECT_TRUE(exists(entry(service)));
    EXPECT_EQ(content(kTarget), "first");
    // It can be signalled at once.
    put_source("second");
    ASSERT_EQ(kill(service, SIGUSR1), 0);
    EXPECT_TRUE(await([&] { return content(kTarget) == "second"; }));

    put_source("third");
    ASSERT_EQ(wait_for(start("")), 0);
    EXPECT_EQ(told_pid(), service);
    EXPECT_EQ(content(kTarget), "second") << "a second one has done something";

    ASSERT_EQ(kill(service, SIGKILL), 0);
    ASSERT_TRUE(await([&] { return wait_for(start("")) == 0 && told_pid() != service; })) << "no new one after its end";
    EXPECT_EQ(content(kTarget), "third");
    ASSERT_EQ(kill(told_pid(), SIGTERM), 0);
    EXPECT_TRUE(await([&] { return content(kPidFile).empty(); }));
}

TEST_F(OnSignal, TakesNoOtherWord) {
    EXPECT_EQ(router_.run([] { REQUIRE(serve_with("--help") == 2); }), 0);
    EXPECT_EQ(content(kPidFile), "-");
}

}  // namespace
