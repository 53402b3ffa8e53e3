// SPDX-License-Identifier: MIT
// Each is a command of the shell, in the form that the protocol has.
#include "programs/programs.h"

#include <cstdio>

#include "base/command.h"
#include "base/input.h"
#include "platform/product.h"

namespace {

constexpr char kChain[] = "speedtest";

// The action is the packet filter's option: I to insert the rule, D to delete it.
void change_counting_rule(char action, Direction direction, const char *ip) {
    char command[1024];
    put(command, "iptables -%c %s -%c " PRODUCT_LAN_INTERFACE " -%c %s 2>/dev/null", action, kChain,
        direction.interface, direction.address, ip);
    run_command(command);
}

}  // namespace

bool read_lan_mac(Out mac) {
    mac.text[0] = '\0';
    const Pipe output = open_command("ifconfig " PRODUCT_LAN_INTERFACE);
    if (!output) {
        return false;
    }
    char line[kLineSize];
    while (read_line(output.get(), line)) {
        // "br0       Link encap:Ethernet  HWaddr 00:11:22:AA:BB:CC": the fourth word behind the name.
        char word[kLineSize];
        if (sscanf(line, PRODUCT_LAN_INTERFACE "%1022s%1022s%1022s%1022s", word, word, word, word) == 4) {
            join(mac, {word});
            return true;
        }
    }
    return false;
}

bool is_upgrading() {
    return run_command("killall -0 fwupgtool 2>/dev/null") == 0;
}

bool wake_sampler() {
    return run_command("killall -USR1 speedtest 2>/dev/null") == 0;
}

void refresh_leases(pid_t server) {
    char command[64];
    join(command, {"kill -SIGUSR1 ", Decimal(server).c_str(), "\n"});
    run_command(command);
}

void remove_session() {
    run_command("rm " PRODUCT_SESSION);
}

void switch_leds(bool on) {
    run_command(on ? "leds enable" : "leds disable");
}

bool read_led_state(Out text) {
    const Pipe output = open_command("leds getenable");
    return output && read_line(output.get(), text);
}

void switch_agent_leds(const char *ip, const char *state) {
    constexpr char kCommand[] =
        "curl -d '{\"action\":\"set\",\"sys\":{\"led\":\"%s\"}}' http://%s/app/app.cgi >/dev/null 2>/dev/null &";
    char command[sizeof kCommand + sizeof "alloff" + 16];
    put(command, kCommand, state, ip);
    run_command(command);
}

bool is_ax(const char *setting) {
    char command[256];
    put(command, "flash get %s_AX_SUPPORT|grep AX_SUPPORT=1 1>/dev/null 2>/dev/null", setting);
    return run_command(command) == 0;
}

PingCommand::PingCommand(const char *address, int count) {
    // The address goes into the command as it is: apps may give a name as well as a number, and whoever gets here has
    // passed the access gate and may change every setting of the router anyway.
    put(text, "ping -c %d -W 3 %s 2>&1", count, address);
}

bool run_ping(const char *address, int count, char (&output)[1024]) {
    const Pipe pipe = open_command(PingCommand(address, count).text);
    if (!pipe) {
        return false;
    }
    read_text(fileno(pipe.get()), output, sizeof output);
    return true;
}

void press_wps_button() {
    run_command("wscd -sig_pbc wlan1");
}

void press_mesh_button() {
    run_command("echo 1 > " PRODUCT_WPS_BUTTON);
}

void cancel_wps() {
    run_command("echo wlan1 > " PRODUCT_WPS_CANCEL " ");
}

bool has_counting_rule(Direction direction, const char *ip) {
    char command[1024];
    put(command, "iptables -S %s |grep '%s/32 -%c' 1>/dev/null 2>/dev/null", kChain, ip, direction.interface);
    return run_command(command) == 0;
}

void insert_counting_rule(Direction direction, const char *ip) {
    change_counting_rule('I', direction, ip);
}

void delete_counting_rule(Direction direction, const char *ip) {
    change_counting_rule('D', direction, ip);
}
