// Requests to the router's system daemon, posted to its System V message queue.
#ifndef GATEWAY_HANDLER_MESSAGE_H
#define GATEWAY_HANDLER_MESSAGE_H

#include <cstddef>
#include <cstdint>

// Sent to another program: do not renumber.
enum SysMsgType : int32_t {
    MSG_APP_START = 1,
    MSG_RESET = 2,
    MSG_REBOOT = 3,
    MSG_APP_REINIT = 4,
    MSG_APP_SCHREBOOT = 5,
    MSG_APP_FWUPG = 6,
    MSG_APP_SETQOS = 7,
    MSG_APP_START_SPEEDTEST = 8,
    MSG_APP_REPORTOSERVER_WANSTA = 9,
    MSG_CALL_SYSCONF = 10,
};

// What a report of the WAN state to a server asks for.
struct SysMsgReport {
    int32_t interval;  // seconds
    int32_t count;
    char guid[40];  // padded with zeros, unterminated when full
};

// A request record as the daemon knows it, in the device's byte order. A sender declares it with `= {}`, so that
// everything it does not set is zero, sets the type and the type's own fields, and calls msg_send().
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
        char sysconfArgv[128];  // MSG_CALL_SYSCONF: terminated text
        SysMsgReport report;    // MSG_APP_REPORTOSERVER_WANSTA
    };
};
static_assert(offsetof(SysMsgRecord, firmware_url) == 4, "layout shared with the daemon");
static_assert(offsetof(SysMsgRecord, firmware_md5) == 132, "layout shared with the daemon");
static_assert(offsetof(SysMsgRecord, schedule_enable) == 229, "layout shared with the daemon");
static_assert(offsetof(SysMsgRecord, schedule_week) == 233, "layout shared with the daemon");
static_assert(offsetof(SysMsgRecord, sysconfArgv) == 236, "layout shared with the daemon");
static_assert(offsetof(SysMsgRecord, report.guid) == 244, "layout shared with the daemon");
static_assert(sizeof(SysMsgRecord) == 364, "layout shared with the daemon");

// Posts the record and returns without waiting for an answer; waits only while the queue is full. 0: queued. -1: not,
// and no message was written to `err_msg`: that is the caller's.
int msg_send(const SysMsgRecord &record);

#endif
