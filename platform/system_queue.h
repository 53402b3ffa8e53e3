// SPDX-License-Identifier: MIT
// Requests to the router's system daemon: where its System V message queue is, and the record that is posted to it.
// Declarations only, for C11 and C++.
#ifndef PLATFORM_SYSTEM_QUEUE_H
#define PLATFORM_SYSTEM_QUEUE_H

#include <assert.h>
#include <stdint.h>

// The queue's key is ftok() of these two. Whoever comes first creates the queue; it is never removed.
#define SYSTEM_QUEUE_PATH "/dev/null"
enum { kSystemQueueProject = 'u', kSystemQueueMode = 0666 };

// Known to both programs: do not renumber.
enum SysMsgType {
    MSG_APP_START = 1,                 // of other senders; the endpoint sends none
    MSG_RESET = 2,                     // bring back the factory's settings, and reboot
    MSG_REBOOT = 3,                    // reboot
    MSG_APP_REINIT = 4,                // settings of several services changed: restart all that read the store
    MSG_APP_SCHREBOOT = 5,             // the scheduled reboot changed: schedule_... tell it
    MSG_APP_FWUPG = 6,                 // fetch the firmware of firmware_url, check it by firmware_md5, install it
    MSG_APP_SETQOS = 7,                // the bandwidth rules changed, and are committed: put them in force
    MSG_APP_START_SPEEDTEST = 8,       // start "speedtest", which measures the WAN's rates when it gets SIGUSR1
    MSG_APP_REPORTOSERVER_WANSTA = 9,  // report the WAN's state to the server: `report` tells how often
    MSG_CALL_SYSCONF = 10,             // put settings in force: sysconfArgv tells which
};

// What a report of the WAN state to a server asks for.
struct SysMsgReport {
    int32_t interval;  // seconds
    int32_t count;
    char guid[40];  // padded with zeros, unterminated when full
};

// A record as the daemon knows it, in the device's byte order; what its type does not use is zero. The queue carries
// the type apart, as a `long`, so that what msgsnd() and msgrcv() call the message is the record without its type.
struct SysMsgRecord {
    int32_t msg_type;
    char firmware_url[128];  // MSG_APP_FWUPG: padded with zeros, unterminated when full
    char firmware_md5[33];   // MSG_APP_FWUPG: 32 hexadecimal digits
    uint8_t reserved_165[64];
    uint8_t schedule_enable;  // MSG_APP_SCHREBOOT: 0 or 1, then the time of day and a mask of weekdays
    uint8_t schedule_hour;
    uint8_t schedule_minute;
    uint8_t schedule_second;
    uint8_t schedule_week;
    uint8_t reserved_234[2];
    union {
        char sysconfArgv[128];       // MSG_CALL_SYSCONF: terminated "init gw all", "initlan", "initwan" or "firewall"
        struct SysMsgReport report;  // MSG_APP_REPORTOSERVER_WANSTA
    };
};
enum { kSysMsgPayload = sizeof(struct SysMsgRecord) - sizeof(int32_t) };  // behind the type
static_assert(kSysMsgPayload == 360, "shared with the daemon");

#endif
