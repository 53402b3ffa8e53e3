// SPDX-License-Identifier: MIT
// No shell: what the kernel knows is asked of it, files are written and removed here, and programs get words that mean
// nothing but themselves. No word that comes from outside begins with a "-".
#include "programs/programs.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>

#include "base/output.h"
#include "base/own_file.h"
#include "base/report.h"
#include "base/resource.h"
#include "base/spawn.h"
#include "kernel/interface_address.h"
#include "kernel/processes.h"
#include "platform/product.h"

namespace {

constexpr char kChain[] = "speedtest";

bool is_letter_or_digit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Whether the text is a name as name servers have it: words of letters and digits with dots between, in which also "-"
// and "_" stand, but not at an end. An address of numbers is one, too.
bool is_host_name(const char *text) {
    char before = '.';
    for (; *text != '\0'; ++text) {
        const bool inside = is_letter_or_digit(before) || before == '-' || before == '_';
        const bool fits = is_letter_or_digit(*text) || ((*text == '-' || *text == '_') && inside) ||
                          (*text == '.' && is_letter_or_digit(before));
        if (!fits) {
            return false;
        }
        before = *text;
    }
    return is_letter_or_digit(before);
}

bool is_ipv6(const char *text) {
    in6_addr address;
    return inet_pton(AF_INET6, text, &address) == 1;
}

// Whether the text is the address of one device: not the loopback's, over which this one would believe itself, nor
// many's at once. By its own address in the LAN it is a client like any other.
bool is_device(const char *text) {
    in_addr address;
    if (inet_pton(AF_INET, text, &address) != 1) {
        return false;
    }
    const unsigned net = ntohl(address.s_addr) >> 24;
    return net != 0 && net != 127 && net < 224;
}

// Puts a text into a file that others watch, if it is a file: what somebody else has put in its place, such as a link
// to another file, is left alone.
void write_file(const char *path, const char *text) {
    const Descriptor file(open_own_file(path, O_WRONLY | O_CREAT));
    if (file && ftruncate(file.get(), 0) == 0) {
        write_all(file.get(), text, strlen(text));
    }
}

// Runs the packet filter with an action on a rule. Whether it did what it was asked.
bool filter_packets(const char *action, Direction direction, const char *ip) {
    const char interface[] = {'-', direction.interface, '\0'};
    const char address[] = {'-', direction.address, '\0'};
    const char *const words[] = {"iptables", action, kChain, interface, PRODUCT_LAN_INTERFACE, address, ip, nullptr};
    return is_device(ip) && run_program(words) == 0;
}

}  // namespace

bool read_lan_mac(Out mac) {
    mac.text[0] = '\0';
    uint8_t bytes[6];
    return find_interface_mac(PRODUCT_LAN_INTERFACE, bytes) &&
           put(mac, "%02X:%02X:%02X:%02X:%02X:%02X", bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5]);
}

bool is_upgrading() {
    return signal_processes("fwupgtool", 0);
}

bool wake_sampler() {
    return signal_processes("speedtest", SIGUSR1);
}

void refresh_leases(pid_t server) {
    kill(server, SIGUSR1);
}

void remove_session() {
    if (unlink(PRODUCT_SESSION) == 0 || errno == ENOENT) {
        return;
    }
    // Where the file stays, as in a folder that cannot be written, an empty one lets nobody in.
    const Descriptor file(open_own_file(PRODUCT_SESSION, O_WRONLY));
    if (!file || ftruncate(file.get(), 0) != 0) {
        report_error("the session is not ended");
    }
}

void switch_leds(bool on) {
    const char *const words[] = {"leds", on ? "enable" : "disable", nullptr};
    run_program(words);
}

bool read_led_state(Out text) {
    constexpr const char *kWords[] = {"leds", "getenable", nullptr};
    return read_program(kWords, Errors::kLogged, text);
}

void switch_agent_leds(const char *ip, const char *state) {
    if (!is_device(ip)) {
        return;
    }
    char request[64];
    char url[64];
    join(request, {R"({"action":"set","sys":{"led":")", state, R"("}})"});
    join(url, {"http://", ip, "/app/app.cgi"});
    const char *const words[] = {"curl", "-m", "10", "-d", request, url, nullptr};
    start_program(words);
}

bool is_ax(const char *setting) {
    char name[140];
    char answer[1024];
    join(name, {setting, "_AX_SUPPORT"});
    const char *const words[] = {"flash", "get", name, nullptr};
    return read_program(words, Errors::kLogged, answer) && strstr(answer, "AX_SUPPORT=1") != nullptr;
}

PingCommand::PingCommand(const char *address, int count) {
    join(text, {"ping -c ", Decimal(count).c_str(), " -W 3 ", address});
}

bool run_ping(const char *address, int count, char (&output)[1024]) {
    const Decimal number(count);
    if (is_host_name(address) || is_ipv6(address)) {
        const char *const words[] = {"ping", "-c", number.c_str(), "-W", "3", address, nullptr};
        return read_program(words, Errors::kRead, output);
    }
    // What is no address answers nothing. The text does not come back: whoever shows the answer may take it for more.
    join(output, {"PING ?: 56 data bytes\n\n--- ? ping statistics ---\n", number.c_str(),
                  " packets transmitted, 0 packets received, 100% packet loss\n"});
    return true;
}

void press_wps_button() {
    constexpr const char *kWords[] = {"wscd", "-sig_pbc", "wlan1", nullptr};
    run_program(kWords);
}

void press_mesh_button() {
    write_file(PRODUCT_WPS_BUTTON, "1\n");
}

void cancel_wps() {
    write_file(PRODUCT_WPS_CANCEL, "wlan1\n");
}

bool has_counting_rule(Direction direction, const char *ip) {
    return filter_packets("-C", direction, ip);
}

void insert_counting_rule(Direction direction, const char *ip) {
    filter_packets("-I", direction, ip);
}

void delete_counting_rule(Direction direction, const char *ip) {
    filter_packets("-D", direction, ip);
}
