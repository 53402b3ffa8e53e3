// SPDX-License-Identifier: MIT
// What the endpoint has the router's own programs do: the one list of them. An interface may be another than br0, and
// files may lie elsewhere (platform/product.h).
#ifndef PROGRAMS_PROGRAMS_H
#define PROGRAMS_PROGRAMS_H

#include <sys/types.h>

#include "base/text.h"

// The hardware address of the LAN bridge as `ifconfig` prints it, colons included. False: there is none, and `mac` is
// empty.
bool read_lan_mac(Out mac);

// Whether a firmware upgrade is running.
bool is_upgrading();

// Has the running speed sampler take a sample. False: none is running.
bool wake_sampler();

// Has the DHCP server write its leases to its file.
void refresh_leases(pid_t server);

// Removes the session's file.
void remove_session();

void switch_leds(bool on);

// Reads what tells whether the LEDs are on; more than its first line may be there. False: nothing tells it, and `text`
// may be anything.
bool read_led_state(Out text);

// Has a mesh agent switch its LEDs, to the state of this text. Nobody waits for its answer.
void switch_agent_leds(const char *ip, const char *state);

// Whether the Wi-Fi interface of this setting (WLAN0_VA1) is one of 802.11ax.
bool is_ax(const char *setting);

// A ping as a command line; the log knows it so.
struct PingCommand {
    char text[128];
    PingCommand(const char *address, int count);
};

// Pings. `output`: all that it says, errors included, as much as fits. False: it can't be run.
bool run_ping(const char *address, int count, char (&output)[1024]);

// The button of WPS: of the radio's own daemon, or of the mesh; and its end.
void press_wps_button();
void press_mesh_button();
void cancel_wps();

// A rule of the packet filter that counts a device's traffic in one direction: traffic to the device leaves through the
// bridge, traffic from it comes in there. These are the packet filter's options for the interface and for the address.
struct Direction {
    char interface;
    char address;
};

bool has_counting_rule(Direction direction, const char *ip);
void insert_counting_rule(Direction direction, const char *ip);
void delete_counting_rule(Direction direction, const char *ip);

#endif
