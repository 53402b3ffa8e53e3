// SPDX-License-Identifier: MIT
// A program under test that does exactly what its body says, one statement per line, so that the runner can be shown
// right and wrong behaviour of every kind. See the functions below for the statements.
#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/apmib.h"
#include "platform/system_queue.h"
#include "platform/wifi_driver.h"

namespace {

unsigned char g_value[4096];

void do_get(char *text) {  // ID: prints the value, or "failed"
    memset(g_value, 0, sizeof(g_value));
    printf("%s\n", apmib_get(atoi(text), g_value) != 0 ? reinterpret_cast<char *>(g_value) : "failed");
    fflush(stdout);
}

void do_set(char *text) {  // ID TEXT: writes the text, padded with zeros
    memset(g_value, 0, sizeof(g_value));
    char *value = strchr(text, ' ') + 1;
    memcpy(g_value, value, strlen(value));
    apmib_set(atoi(text), g_value);
}

void do_dirty(char *text) {  // ID: writes "x", a NUL and garbage
    memset(g_value, 'g', sizeof(g_value));
    memcpy(g_value, "x", 2);
    apmib_set(atoi(text), g_value);
}

void do_short(char *text) {  // ID: writes from a buffer of one byte
    auto *value = static_cast<unsigned char *>(calloc(1, 1));
    apmib_set(atoi(text), value);
    free(value);
}

void do_interface(char *text) {  // W V
    wlan_idx = text[0] - '0';
    vwlan_idx = text[2] - '0';
}

void do_entry(char *text) {  // ID INDEX: prints the table entry
    memset(g_value, 0, sizeof(g_value));
    g_value[0] = static_cast<unsigned char>(atoi(strchr(text, ' ')));
    printf("%s\n", apmib_get(atoi(text), g_value) != 0 ? reinterpret_cast<char *>(g_value) : "failed");
    fflush(stdout);
}

void do_moment(char *) {  // writes the one of "ABCDEFG" whose turn it is five seconds from now
    char value[8] = {"ABCDEFG"[(time(nullptr) + 5) % 7]};
    apmib_set(10, value);
}

void do_commit(char *text) {
    apmib_update(atoi(text));
}

void do_save(char *) {
    save_cs_to_file();
}

void do_try_save(char *) {  // prints what the call returns
    printf("%d\n", save_cs_to_file());
    fflush(stdout);
}

void do_slow_get(char *text) {  // prints whether the call took a tenth of a second
    timespec start = {};
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &start);
    apmib_get(atoi(text), g_value);
    clock_gettime(CLOCK_MONOTONIC, &end);
    puts((end.tv_sec - start.tv_sec) * 1000 + (end.tv_nsec - start.tv_nsec) / 1000000 >= 100 ? "late" : "at once");
    fflush(stdout);
}

void do_tell(char *line) {  // appends the line to the doubles' log, as a double would that speaks otherwise
    FILE *log = fopen("/.runner/events", "a");
    fprintf(log, "%s\n", line);
    fclose(log);
}

void do_print(char *text) {
    puts(text);
    fflush(stdout);
}

void do_error(char *text) {
    fprintf(stderr, "%s\n", text);
}

void do_shell(char *text) {
    if (system(text) == -1) {
        puts("system failed");
    }
}

void do_pipe(char *text) {  // prints what the command prints
    FILE *pipe = popen(text, "r");
    char line[256];
    while (pipe != nullptr && fgets(line, sizeof(line), pipe) != nullptr) {
        fputs(line, stdout);
    }
    const int status = pipe == nullptr ? -1 : pclose(pipe);
    printf("status %d\n", status);
    fflush(stdout);
}

void send_message(const char *text, int flags) {
    struct {
        long type;
        char payload[kSysMsgPayload];
    } record = {};
    record.type = labs(atol(text));
    const char *argument = strchr(text, ' ');
    if (argument != nullptr) {
        strcpy(record.payload + offsetof(SysMsgRecord, sysconfArgv) - sizeof(SysMsgRecord::msg_type), argument + 1);
    }
    const int queue = msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), IPC_CREAT | 0666);
    if (queue < 0 || msgsnd(queue, &record, text[0] == '-' ? 300 : kSysMsgPayload, flags) != 0) {
        perror("message");
    }
}

void do_message(
    char *text) {  // TYPE TEXT: the text is the argument of MSG_CALL_SYSCONF; -1 as type sends too short a record
    send_message(text, 0);
}

void do_try_send(char *text) {  // the same, but does not wait for room in the queue
    send_message(text, IPC_NOWAIT);
}

void do_queue(char *) {  // makes a queue that others may not use
    msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), IPC_CREAT | 0600);
}

void do_uptime(char *format) {  // "json": as a formatted object with one member
    struct sysinfo info = {};
    if (sysinfo(&info) != 0) {
        perror("sysinfo");
        return;
    }
    printf(strcmp(format, "json") == 0 ? "{\n\t\"up\":\t%ld\n}\n" : "up %ld\n", info.uptime);
    fflush(stdout);
}

void do_since(char *path) {  // the seconds since the moment in the file, as a formatted object with one member
    FILE *file = fopen(path, "r");
    long moment = 0;
    if (file == nullptr || fscanf(file, "%ld", &moment) != 1) {
        perror("since");
        return;
    }
    printf("{\n\t\"since\":\t%lld\n}\n", static_cast<long long>(time(nullptr)) - moment);
    fflush(stdout);
    fclose(file);
}

void do_network(char *name) {  // prints the interface's address, netmask and MAC, or why there is none
    constexpr unsigned long kRequests[] = {SIOCGIFADDR, SIOCGIFNETMASK, SIOCGIFHWADDR};
    const int file = socket(AF_INET, SOCK_STREAM, 0);
    if (file < 0) {
        perror("socket");
        return;
    }
    for (const unsigned long request : kRequests) {
        ifreq wanted = {};
        snprintf(wanted.ifr_name, sizeof(wanted.ifr_name), "%s", name);
        if (ioctl(file, request, &wanted) != 0) {
            perror("ioctl");
        } else if (request == SIOCGIFHWADDR) {
            const auto *mac = reinterpret_cast<const unsigned char *>(wanted.ifr_hwaddr.sa_data);
            printf("%02x:%02x:%02x:%02x:%02x:%02x\n", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
        } else {
            puts(inet_ntoa(reinterpret_cast<sockaddr_in *>(&wanted.ifr_addr)->sin_addr));
        }
    }
    close(file);
    fflush(stdout);
}

// NAME KIND BUFFER LENGTH: asks the Wi-Fi driver for the stations of an interface, in a buffer of so many bytes that is
// said to have that length, and prints them as hexadecimal digits up to the last byte that is not zero. Kinds: "plain",
// "ax", "ax-bare" (without the flags that the driver wants), "filled" (with a buffer that is not zeroed).
void do_stations(char *text) {
    WifiRequest wanted = {};
    char kind[16];
    unsigned size = 0;
    unsigned length = 0;
    const int file = socket(AF_INET, SOCK_DGRAM, 0);
    if (sscanf(text, "%15s %15s %u %u", wanted.interface, kind, &size, &length) != 4 ||
        ioctl(file, kWifiNameRequest, &wanted) != 0) {
        perror("name");
        close(file);
        return;
    }
    auto *buffer = static_cast<unsigned char *>(calloc(1, size));
    wanted.data = {buffer, static_cast<uint16_t>(length), 0};
    if (strcmp(kind, "ax") == 0) {
        wanted.data.flags = kStationTableRequest;
    }
    if (strcmp(kind, "filled") == 0) {
        buffer[size - 1] = 1;
    }
    if (ioctl(file, kind[0] == 'a' ? kAxPrivateRequest : kStationTableRequest, &wanted) != 0) {
        perror("stations");
        free(buffer);
        close(file);
        return;
    }
    while (size > 0 && buffer[size - 1] == 0) {
        --size;
    }
    for (unsigned i = 0; i < size; ++i) {
        printf("%02x", buffer[i]);
    }
    puts("");
    fflush(stdout);
    free(buffer);
    close(file);
}

void write_console(const char *text, const char *end, bool twice) {
    FILE *console = fopen("/dev/console", "w+");
    for (int i = 0; console != nullptr && i < (twice ? 2 : 1); ++i) {
        fprintf(console, "app:main:%d:%s%s", __LINE__, text, end);
    }
    if (console != nullptr) {
        fclose(console);
    }
}

void do_log(char *text) {
    write_console(text, "\n", false);
}

void do_log_open(char *text) {  // without a line feed
    write_console(text, "", false);
}

void do_log_twice(char *text) {
    write_console(text, "\n", true);
}

void do_write(char *text) {  // PATH TEXT
    char *content = strchr(text, ' ');
    *content++ = '\0';
    FILE *file = fopen(text, "w");
    fputs(content, file);
    fclose(file);
}

void do_remove(char *text) {
    unlink(text);
}

void do_env(char *text) {
    const char *value = getenv(text);
    printf("%s\n", value == nullptr ? "absent" : value);
    fflush(stdout);
}

void do_memory(char *text) {
    char *block = static_cast<char *>(malloc(strtoul(text, nullptr, 10)));
    puts(block == nullptr ? "refused" : "granted");
    fflush(stdout);
    free(block);
}

void do_exit(char *text) {
    exit(atoi(text));
}

void do_abort(char *) {
    abort();
}

void do_hang(char *) {
    pause();
}

void do_leak(char *) {
    char *lost = static_cast<char *>(malloc(100));
    memset(lost, 1, 100);
    asm volatile("" : : "r"(lost) : "memory");
    lost = nullptr;
    asm volatile("" : : "r"(lost) : "memory");
}

void do_overflow(char *text) {
    char *small = static_cast<char *>(malloc(4));
    memcpy(small, text, strlen(text) + 1);
    asm volatile("" : : "r"(small) : "memory");
    free(small);
}

struct Statement {
    const char *name;
    void (*run)(char *text);
};

constexpr Statement kStatements[] = {
    {"get",       do_get      },
    {"set",       do_set      },
    {"dirty",     do_dirty    },
    {"short",     do_short    },
    {"interface", do_interface},
    {"entry",     do_entry    },
    {"moment",    do_moment   },
    {"commit",    do_commit   },
    {"save",      do_save     },
    {"try-save",  do_try_save },
    {"slow-get",  do_slow_get },
    {"tell",      do_tell     },
    {"print",     do_print    },
    {"error",     do_error    },
    {"shell",     do_shell    },
    {"pipe",      do_pipe     },
    {"message",   do_message  },
    {"try-send",  do_try_send },
    {"queue",     do_queue    },
    {"uptime",    do_uptime   },
    {"since",     do_since    },
    {"network",   do_network  },
    {"stations",  do_stations },
    {"log",       do_log      },
    {"log-open",  do_log_open },
    {"log-twice", do_log_twice},
    {"write",     do_write    },
    {"remove",    do_remove   },
    {"env",       do_env      },
    {"memory",    do_memory   },
    {"exit",      do_exit     },
    {"abort",     do_abort    },
    {"hang",      do_hang     },
    {"leak",      do_leak     },
    {"overflow",  do_overflow },
};

void run(char *line) {
    char *text = strchr(line, ' ');
    if (text != nullptr) {
        *text++ = '\0';
    }
    for (const Statement &statement : kStatements) {
        if (strcmp(statement.name, line) == 0) {
            static char nothing[1];
            statement.run(text == nullptr ? nothing : text);
            return;
        }
    }
    fprintf(stderr, "no such statement: %s\n", line);
}

char g_line[300000];

}  // namespace

int main(int argc, char **argv) {
    // "twice" and "never" as arguments: the runner must see how often the store is opened.
    const char *mode = argc > 1 ? argv[1] : "";
    if (strcmp(mode, "never") != 0) {
        apmib_init();
    }
    if (strcmp(mode, "twice") == 0) {
        apmib_init();
    }
    static char reply[1 << 18];
    setvbuf(stdout, reply, _IOFBF, sizeof(reply));
    while (fgets(g_line, sizeof(g_line), stdin) != nullptr) {
        g_line[strcspn(g_line, "\n")] = '\0';
        run(g_line);
    }
    return 0;
}
