// What a kind of request must do, whoever writes app.cgi: shell commands, writes to the store. Arguments:
//
//   popen COMMAND, system COMMAND          run it so, and read what it prints
//   wlan RADIO.INDEX                       select the interface that items of interfaces mean
//   number, text, address ID=VALUE         write an item
//   add, remove ID=HEXADECIMAL             add an entry to the table with this id, delete it
//   replace ID=HEXADECIMAL                 put an entry in the last one's place
//   commit 4                               commit the store, and write its settings file
//   message TYPE=TEXT                      post a record to the system daemon
#include "bench/steps.h"

#include <arpa/inet.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "gateway/handler/message.h"
#include "platform/apmib.h"
#include "store/table.h"

namespace {

constexpr size_t kWidestEntry = 512;

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

bool write_number(const char *what) {
    int id = 0;
    int value = atoi(split(what, id));
    return apmib_set(id, &value) != 0;
}

bool write_text(const char *what) {
    int id = 0;
    char value[256] = {};  // no item is wider
    strncpy(value, split(what, id), sizeof value - 1);
    return apmib_set(id, value) != 0;
}

bool write_address(const char *what) {
    int id = 0;
    in_addr_t value = inet_addr(split(what, id));
    return apmib_set(id, &value) != 0;
}

bool select_interface(const char *what) {
    wlan_idx = what[0] - '0';
    vwlan_idx = what[2] - '0';
    return true;
}

int digit(char c) {
    return c <= '9' ? c - '0' : c - 'a' + 10;
}

// Reads the table's id and the entry, which is as long as the table's.
void read_entry(const char *what, int &id, uint8_t (&entry)[kWidestEntry]) {
    const char *digits = split(what, id);
    for (size_t i = 0; i < kWidestEntry && digits[2 * i] != '\0'; ++i) {
        entry[i] = static_cast<uint8_t>(digit(digits[2 * i]) << 4 | digit(digits[2 * i + 1]));
    }
}

bool add_entry(const char *what) {
    int id = 0;
    uint8_t entry[kWidestEntry] = {};
    read_entry(what, id, entry);
    return apmib_set(id + kTableAdd, entry) != 0;
}

bool remove_entry(const char *what) {
    int id = 0;
    uint8_t entry[kWidestEntry] = {};
    read_entry(what, id, entry);
    return apmib_set(id + kTableDelete, entry) != 0;
}

bool replace_last_entry(const char *what) {
    int id = 0;
    uint8_t entry[kWidestEntry] = {};
    uint8_t last[kWidestEntry] = {};
    int32_t count = 0;
    read_entry(what, id, entry);
    if (apmib_get(id, &count) == 0) {
        return false;
    }
    last[0] = static_cast<uint8_t>(count);
    return apmib_get(id + kTableRead, last) != 0 && apmib_set(id + kTableDelete, last) != 0 &&
           apmib_set(id + kTableAdd, entry) != 0;
}

bool post_message(const char *what) {
    struct {
        long type;
        char payload[sizeof(SysMsgRecord) - sizeof(int32_t)];
    } entry = {};
    int type = 0;
    const char *text = split(what, type);
    entry.type = type;
    strncpy(entry.payload + offsetof(SysMsgRecord, sysconfArgv) - sizeof(int32_t), text,
            sizeof SysMsgRecord::sysconfArgv - 1);
    const int queue = msgget(ftok("/dev/null", 'u'), IPC_CREAT | 0666);
    return queue >= 0 && msgsnd(queue, &entry, sizeof entry.payload, 0) == 0;
}

bool commit(const char *type) {
    return apmib_update(atoi(type)) != 0 && save_cs_to_file() == 0;
}

constexpr struct {
    const char *name;
    bool (*run)(const char *what);
} kWays[] = {
    {"popen",   run_by_popen      },
    {"system",  run_by_system     },
    {"wlan",    select_interface  },
    {"number",  write_number      },
    {"text",    write_text        },
    {"address", write_address     },
    {"add",     add_entry         },
    {"remove",  remove_entry      },
    {"replace", replace_last_entry},
    {"commit",  commit            },
    {"message", post_message      },
};

bool run_step(const char *name, const char *what) {
    for (const auto &way : kWays) {
        if (strcmp(way.name, name) == 0) {
            return way.run(what);
        }
    }
    return false;
}

}  // namespace

bool run_steps(int argc, char **argv) {
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!run_step(argv[i], argv[i + 1])) {
            return false;
        }
    }
    return true;
}
