// SPDX-License-Identifier: MIT
// Arguments, each with one of its own (bench/driver.cpp makes them of a kind's steps, kinds.h):
//
//   session PATH                           read the session file
//   reply SIZE                             write so many bytes
//   popen COMMAND, system COMMAND          run it so; popen: and read what it prints
//   select RADIO.INDEX                     select the interface that items of interfaces mean
//   get ID, entries ID                     read an item; the count and the entries of the table with this id
//   set ID=HEXADECIMAL                     write an item
//   add, delete ID=HEXADECIMAL             add an entry to the table with this id, delete it
//   replace ID=HEXADECIMAL                 put an entry in the last one's place
//   commit 4                               commit the store, and write its settings file
//   queue TYPE=TEXT                        post a record to the system daemon
#include "bench/steps.h"

#include <cjson/cJSON.h>
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/apmib.h"
#include "platform/system_queue.h"
#include "platform/tables.h"

namespace {

constexpr size_t kWidest = 1024;  // of a value or a table's entry

// Static, and cleared only where that is needed: what it costs to be told what to do by arguments is no part of what a
// request requires.
uint8_t room_to_read[kWidest];
uint8_t to_write[kWidest];  // zeros behind what was written into it
size_t to_write_size = 0;

// Running what the arguments say is the purpose here: NOLINTBEGIN(cert-env33-c)

bool run_by_popen(const char *command) {
    FILE *output = popen(command, "r");
    if (output == nullptr) {
        return false;
    }
    char text[1024];
    while (read(fileno(output), text, sizeof text) > 0) {
    }
    return pclose(output) >= 0;
}

bool run_by_system(const char *command) {
    return system(command) >= 0;
}

// NOLINTEND(cert-env33-c)

// Splits "ID=VALUE". Returns the value.
const char *split(const char *what, int &id) {
    id = atoi(what);
    const char *separator = strchr(what, '=');
    return separator != nullptr ? separator + 1 : "";
}

bool select_interface(const char *what) {
    wlan_idx = what[0] - '0';
    vwlan_idx = what[2] - '0';
    return true;
}

int digit(char c) {
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

// Splits "ID=HEXADECIMAL" into the id, which it returns, and `to_write`.
int read_bytes(const char *what) {
    int id = 0;
    const char *digits = split(what, id);
    memset(to_write, 0, to_write_size);
    size_t size = 0;
    for (; size < kWidest && digits[2 * size] != '\0'; ++size) {
        to_write[size] = static_cast<uint8_t>(digit(digits[2 * size]) << 4 | digit(digits[2 * size + 1]));
    }
    to_write_size = size;
    return id;
}

bool get_item(const char *what) {
    return apmib_get(atoi(what), room_to_read) != 0;
}

// Into `room_to_read`.
bool get_entry(int id, int32_t index) {
    room_to_read[0] = static_cast<uint8_t>(index);
    return apmib_get(id + kTableRead, room_to_read) != 0;
}

bool get_entries(const char *what) {
    const int id = atoi(what);
    int32_t count = 0;
    if (apmib_get(id, &count) == 0) {
        return false;
    }
    for (int32_t index = 1; index <= count; ++index) {
        if (!get_entry(id, index)) {
            return false;
        }
    }
    return true;
}

bool set_item(const char *what) {
    const int id = read_bytes(what);
    return apmib_set(id, to_write) != 0;
}

bool add_entry(const char *what) {
    const int id = read_bytes(what);
    return apmib_set(id + kTableAdd, to_write) != 0;
}

bool delete_entry(const char *what) {
    const int id = read_bytes(what);
    return apmib_set(id + kTableDelete, to_write) != 0;
}

bool replace_last_entry(const char *what) {
    int32_t count = 0;
    const int id = read_bytes(what);
    return apmib_get(id, &count) != 0 && get_entry(id, count) && apmib_set(id + kTableDelete, room_to_read) != 0 &&
           apmib_set(id + kTableAdd, to_write) != 0;
}

bool post_message(const char *what) {
    struct {
        long type;
        char payload[kSysMsgPayload];
    } entry = {};
    int type = 0;
    const char *text = split(what, type);
    entry.type = type;
    strncpy(entry.payload + offsetof(SysMsgRecord, sysconfArgv) - sizeof(int32_t), text,
            sizeof SysMsgRecord::sysconfArgv - 1);
    const int queue = msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), IPC_CREAT | kSystemQueueMode);
    return queue >= 0 && msgsnd(queue, &entry, sizeof entry.payload, 0) == 0;
}

bool commit(const char *type) {
    return apmib_update(atoi(type)) != 0 && save_cs_to_file() == 0;
}

bool read_session(const char *path) {
    char text[128];
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const bool done = file >= 0 && read(file, text, sizeof text) >= 0;
    close(file);
    return done;
}

bool write_reply(const char *what) {
    static const char kBytes[1 << 18] = {};  // in the file, so that no memory is this process's own
    const size_t size = strtoul(what, nullptr, 10);
    return size <= sizeof kBytes && write(STDOUT_FILENO, kBytes, size) == static_cast<ssize_t>(size);
}

constexpr struct {
    const char *name;
    bool (*run)(const char *what);
} kWays[] = {
  // Those that a request has many of come first.
    {"set",     set_item          },
    {"select",  select_interface  },
    {"get",     get_item          },
    {"entries", get_entries       },
    {"add",     add_entry         },
    {"delete",  delete_entry      },
    {"replace", replace_last_entry},
    {"session", read_session      },
    {"reply",   write_reply       },
    {"popen",   run_by_popen      },
    {"system",  run_by_system     },
    {"commit",  commit            },
    {"queue",   post_message      },
};

bool run_step(const char *name, const char *what) {
    for (const auto &way : kWays) {
        if (way.name[0] == name[0] && strcmp(way.name, name) == 0) {
            return way.run(what);
        }
    }
    return false;
}

}  // namespace

bool run_steps(int argc, char **argv, const char *body) {
    cJSON *request = cJSON_Parse(body);
    bool done = request != nullptr;
    for (int i = 1; done && i + 1 < argc; i += 2) {
        done = run_step(argv[i], argv[i + 1]);
    }
    cJSON_Delete(request);
    return done;
}
