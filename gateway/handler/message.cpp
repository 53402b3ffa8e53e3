// SPDX-License-Identifier: MIT
#include "gateway/handler/message.h"

#include <sys/ipc.h>
#include <sys/msg.h>

#include <cstring>

#include "base/debug_log.h"
#include "base/report.h"
#include "base/text.h"
#include "gateway/handler/queue.h"
#include "gateway/handler/request_state.h"

namespace {

constexpr char kModule[] = "app";

// The log line of a type; a type without a row is logged by its number.
struct TypeName {
    int32_t type;
    const char *log_line;
};
constexpr TypeName kTypeNames[] = {
    {MSG_APP_START,     "CASE:MSG_APP_START\n\n"    },
    {MSG_APP_REINIT,    "CASE:MSG_APP_REINIT\n\n"   },
    {MSG_RESET,         "CASE:MSG_RESET\n\n"        },
    {MSG_REBOOT,        "CASE:MSG_REBOOT\n\n"       },
    {MSG_APP_SCHREBOOT, "CASE:MSG_APP_SCHREBOOT\n\n"},
    {MSG_APP_FWUPG,     "CASE:MSG_APP_FWUPG\n"      },
};

const char *find_log_line(int32_t type) {
    for (const TypeName &row : kTypeNames) {
        if (row.type == type) {
            return row.log_line;
        }
    }
    return nullptr;
}

// What msgsnd() takes: a long, which is wider than the record's type on a 64-bit machine, and the rest of the record.
struct QueueEntry {
    long type;
    char payload[kSysMsgPayload];
};

}  // namespace

int msg_send(const SysMsgRecord &record) {
    const key_t key = ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject);
    const int queue = msgget(key, IPC_CREAT | kSystemQueueMode);
    if (queue < 0) {
        report_error("the system daemon is not told");
        DebugLog("msgget failed\n\n");
        return -1;
    }
    const char *log_line = find_log_line(record.msg_type);
    if (log_line != nullptr) {
        DebugLog("%s", log_line);
    } else {
        DebugLog("CASE:%d\n", record.msg_type);
    }
    QueueEntry entry = {};
    entry.type = record.msg_type;
    memcpy(entry.payload, reinterpret_cast<const char *>(&record) + sizeof record.msg_type, sizeof entry.payload);
    if (!put_into_queue(queue, &entry, sizeof entry.payload)) {
        report_error("the system daemon is not told");
        DebugLog("msgsnd failed\n\n");
        return -1;
    }
    return 0;
}

int ask_daemon(const SysMsgRecord &record, const char *not_sent) {
    return msg_send(record) == 0 ? 0 : fail("%s", not_sent);
}

int ask_daemon(SysMsgType type, const char *not_sent) {
    SysMsgRecord record = {};
    record.msg_type = type;
    return ask_daemon(record, not_sent);
}

int call_sysconf(const char *argument) {
    SysMsgRecord record = {};
    record.msg_type = MSG_CALL_SYSCONF;
    join(record.sysconfArgv, {argument});
    return ask_daemon(record, "ERROR: send MSG_CALL_SYSCONF fail");
}
