// SPDX-License-Identifier: MIT
// libdriver.so: what the router's programs are answered by the drivers of Wi-Fi and switch.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include "platform/apmib.h"
#include "platform/wifi_driver.h"
#include "tests/store/router.h"

namespace {

// The 5 GHz radio is an 802.11ax one.
constexpr char kDefinitions[] = R"(
1    MIB_WLAN_SSID        text[33]  interface  ""
4300 MIB_WLAN_AX_SUPPORT  byte      interface  0
  wlan0                                        1
  wlan0-va1                                    1
  wlan1-vxd                                    1
)";

struct Request {
    char interface[16];
    void *pointer;
    uint16_t length;
    uint16_t flags;
    char rest[4];
};

// The library's functions. It is loaded, not linked, so that the tests themselves open files without it.
struct Driver {
    int (*ioctl)(int, unsigned long, ...);
    int (*open)(const char *, int, ...);
    int (*open64)(const char *, int, ...);
    int (*checked_open)(const char *, int);
    int (*checked_open64)(const char *, int);
    FILE *(*fopen)(const char *, const char *);
    FILE *(*fopen64)(const char *, const char *);
};

template <typename Function>
void find_function(void *library, const char *name, Function *&function) {
    function = reinterpret_cast<Function *>(dlsym(library, name));
    ASSERT_NE(function, nullptr) << name;
}

Driver driver;

class DriverTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        void *library = dlopen(DRIVER_PATH, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        find_function(library, "ioctl", driver.ioctl);
        find_function(library, "open", driver.open);
        find_function(library, "open64", driver.open64);
        find_function(library, "__open_2", driver.checked_open);
        find_function(library, "__open64_2", driver.checked_open64);
        find_function(library, "fopen", driver.fopen);
        find_function(library, "fopen64", driver.fopen64);
    }

    DriverTest() : router_(kDefinitions) {
        std::filesystem::create_directories(router_.path("/outside/stations"));
        std::filesystem::create_directories(router_.path("/outside/rtl865x"));
    }

    void put(const std::string &path, const std::string &content) { write_file(router_.path(path), content); }

    // A table whose bytes tell their place.
    static std::string table(size_t size) {
        std::string bytes(size, '\0');
        for (size_t i = 0; i < size; i++) {
            bytes[i] = static_cast<char>(i % 251);
        }
        return bytes;
    }

    Router router_;
};

// A request about an interface; a name that fills the field has no terminator.
Request about(const char *interface) {
    Request request = {};
    memcpy(request.interface, interface, strnlen(interface, sizeof(request.interface)));
    return request;
}

// Asks as a program does. Returns 0 or the error number.
int ask(unsigned long request, Request *asked) {
    const int result = driver.ioctl(-1, request, asked);
    REQUIRE(result == 0 || (result == -1 && errno != 0));
    return result == 0 ? 0 : errno;
}

int ask_name(const char *interface) {
    Request request = about(interface);
    return ask(kWifiNameRequest, &request);
}

// Asks for a table with room for `room` bytes, which get `content`; nothing behind them is touched.
int ask_table(const char *interface, bool ax, uint16_t room = kStationTableSize, const std::string &content = "") {
    char buffer[2 * kStationTableSize];
    memset(buffer, 0x5a, sizeof(buffer));
    Request request = about(interface);
    request.pointer = buffer;
    request.length = room;
    request.flags = ax ? kStationTableRequest : 0;
    memset(request.rest, 0x5a, sizeof(request.rest));
    const int error = ask(ax ? kAxPrivateRequest : kStationTableRequest, &request);
    REQUIRE(error != 0 || request.length == content.size());
    REQUIRE(memcmp(buffer, content.data(), content.size()) == 0);
    for (size_t i = content.size(); i < sizeof(buffer); i++) {
        REQUIRE(buffer[i] == 0x5a);
    }
    for (char c : request.rest) {
        REQUIRE(c == 0x5a);
    }
    return error;
}

TEST_F(DriverTest, KnowsTheInterfacesThatHaveATable) {
    put("/outside/stations/wlan0", table(kStationTableSize));
    put("/outside/stations/wlan0-va0", "");
    put("/outside/stations/wlan0.refuses", "");
    put("/outside/stations/sixteen-letters", "");
    put("/outside/secret", "");
    EXPECT_EQ(router_.run([] {
        for (const char *name : {"wlan0", "wlan0-va0", "sixteen-letters"}) {
            REQUIRE(ask_name(name) == 0);
        }
        for (const char *name :
             {"wlan1", "wlan0-va1", "", ".", "..", "../secret", "wlan0.refuses", "WLAN0", "br0", "sixteen-letters-x"}) {
            REQUIRE(ask_name(name) == ENODEV);
        }
        Request request = about("wlan0");
        REQUIRE(ask(kWifiNameRequest, &request) == 0);
        REQUIRE(memcmp(&request.pointer, "IEEE 802.11\0\0\0\0\0", 16) == 0);
        REQUIRE(ask(kWifiNameRequest, nullptr) == EFAULT);
    }),
              0);
}

TEST_F(DriverTest, HandsOutWhatThereIsAndNoMoreThanFits) {
    put("/outside/stations/wlan1", table(kStationTableSize));
    put("/outside/stations/wlan1-va0", table(100));
    put("/outside/stations/wlan1-va1", table(kStationTableSize + 1000));
    put("/outside/stations/wlan1-va2", "");
    EXPECT_EQ(router_.run([] {
        REQUIRE(ask_table("wlan1", false, kStationTableSize, table(kStationTableSize)) == 0);
        REQUIRE(ask_table("wlan1", false, kStationTableSize - 1, table(kStationTableSize - 1)) == 0);
        REQUIRE(ask_table("wlan1", false, 1, table(1)) == 0);
        REQUIRE(ask_table("wlan1", false, 0) == 0);
        REQUIRE(ask_table("wlan1-va0", false, kStationTableSize, table(100)) == 0);
        REQUIRE(ask_table("wlan1-va1", false, kStationTableSize, table(kStationTableSize)) == 0);
        REQUIRE(ask_table("wlan1-va2", false) == 0);
        REQUIRE(ask_table("wlan1-va3", false) == ENODEV);
        Request request = {"wlan1", nullptr, kStationTableSize, 0, {}};
        REQUIRE(ask(kStationTableRequest, &request) == EFAULT);
        REQUIRE(ask(kStationTableRequest, nullptr) == EFAULT);
    }),
              0);
}

TEST_F(DriverTest, HandsOutNothingWhenItIsToRefuse) {
    put("/outside/stations/wlan1", table(kStationTableSize));
    put("/outside/stations/wlan1.refuses", "");
    EXPECT_EQ(router_.run([] {
        REQUIRE(ask_name("wlan1") == 0);
        REQUIRE(ask_table("wlan1", false) == EIO);
    }),
              0);
    std::filesystem::remove(router_.path("/outside/stations/wlan1.refuses"));
    EXPECT_EQ(router_.run([] { REQUIRE(ask_table("wlan1", false, kStationTableSize, table(kStationTableSize)) == 0); }),
              0);
}

TEST_F(DriverTest, TakesTheRequestOfTheInterfacesKindOnly) {
    ASSERT_EQ(router_.flash({"boot"}).status, 0);
    constexpr struct {
        const char *name;
        bool ax;
    } kInterfaces[] = {
        {"wlan0",     true },
        {"wlan0-va0", false},
        {"wlan0-va1", true },
        {"wlan1",     false},
        {"wlan1-va4", true }, // the place that it shares with the repeater interface
        {"wlan1-vxd", true },
        {"wlan2",     false}, // which the store does not know
    };
    for (auto &interface : kInterfaces) {
        put(std::string("/outside/stations/") + interface.name, table(kStationTableSize));
    }
    EXPECT_EQ(router_.run([&] {
        for (auto &interface : kInterfaces) {
            REQUIRE(ask_table(interface.name, interface.ax, kStationTableSize, table(kStationTableSize)) == 0);
            REQUIRE(ask_table(interface.name, !interface.ax) == EOPNOTSUPP);
        }
        char buffer[kStationTableSize];
        Request request = {"wlan0", buffer, kStationTableSize, 0, {}};
        REQUIRE(ask(kAxPrivateRequest, &request) == EOPNOTSUPP);  // a private request of another meaning
    }),
              0);
    ASSERT_EQ(router_.flash({"set", "WLAN0_AX_SUPPORT", "0"}).status, 0);
    EXPECT_EQ(router_.run([] { REQUIRE(ask_table("wlan0", false, kStationTableSize, table(kStationTableSize)) == 0); }),
              0);
}

TEST_F(DriverTest, LeavesTheProgramsOwnSelectionInTheStore) {
    ASSERT_EQ(router_.flash({"boot"}).status, 0);
    ASSERT_EQ(router_.flash({"set", "WLAN1_VA2_SSID", "selected"}).status, 0);
    put("/outside/stations/wlan0", table(kStationTableSize));
    EXPECT_EQ(router_.run([] {
        REQUIRE(apmib_init() != 0);
        wlan_idx = 1;
        vwlan_idx = 3;
        REQUIRE(ask_table("wlan0", true, kStationTableSize, table(kStationTableSize)) == 0);
        REQUIRE(wlan_idx == 1 && vwlan_idx == 3);
        char name[33] = "";
        REQUIRE(apmib_get(1, name) != 0 && strcmp(name, "selected") == 0);
    }),
              0);
}

TEST_F(DriverTest, LeavesOtherRequestsToTheKernel) {
    EXPECT_EQ(router_.run([] {
        int ends[2];
        int waiting = 0;
        REQUIRE(pipe(ends) == 0 && write(ends[1], "abc", 3) == 3);
        REQUIRE(driver.ioctl(ends[0], FIONREAD, &waiting) == 0 && waiting == 3);
        errno = 0;
        REQUIRE(driver.ioctl(-1, FIONREAD, &waiting) == -1 && errno == EBADF);
    }),
              0);
}

// Reads what a descriptor or a stream gives; "-" for none.
std::string read_all(int file) {
    char bytes[64];
    const ssize_t size = file < 0 ? -1 : read(file, bytes, sizeof(bytes));
    return size < 0 ? "-" : std::string(bytes, static_cast<size_t>(size));
}

std::string read_all(FILE *file) {
    return file == nullptr ? "-" : read_all(fileno(file));
}

TEST_F(DriverTest, OpensTheSwitchsFilesAtTheirPaths) {
    put("/outside/rtl865x/arp", "arp table");
    put("/outside/other", "other");
    write_file(router_.path("/proc/other"), "proc");
    const std::string long_path = "/proc/rtl865x/" + std::string(4000, 'a');
    EXPECT_EQ(router_.run([&] {
        constexpr char kArp[] = "/proc/rtl865x/arp";
        REQUIRE(read_all(driver.open(kArp, O_RDONLY)) == "arp table");
        REQUIRE(read_all(driver.open64(kArp, O_RDONLY)) == "arp table");
        REQUIRE(read_all(driver.checked_open(kArp, O_RDONLY)) == "arp table");
        REQUIRE(read_all(driver.checked_open64(kArp, O_RDONLY)) == "arp table");
        REQUIRE(read_all(driver.fopen(kArp, "r")) == "arp table");
        REQUIRE(read_all(driver.fopen64(kArp, "re")) == "arp table");
        REQUIRE(read_all(driver.open("/outside/other", O_RDONLY)) == "other");
        REQUIRE(read_all(driver.fopen("/proc/other", "r")) == "proc");
        for (const char *missing : {"/proc/rtl865x/port_status", "/proc/rtl865x", "/proc/rtl865xx/arp", "proc",
                                    "/proc/rtl865x/", "", long_path.c_str()}) {
            REQUIRE(read_all(driver.open(missing, O_RDONLY)) == "-");
            REQUIRE(read_all(driver.fopen(missing, "r")) == "-");
        }
        struct stat status = {};
        umask(0);
        REQUIRE(driver.open("/outside/made", O_WRONLY | O_CREAT | O_EXCL, 0640) >= 0);
        REQUIRE(stat("/outside/made", &status) == 0 && (status.st_mode & 0777) == 0640);
    }),
              0);
}

}  // namespace
