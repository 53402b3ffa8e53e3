// The router's system daemon, as far as the virtual router needs one: reads the message queue, prints each record, and
// does what it asks as far as that can be shown here. Runs until it is killed.
#include <sys/ipc.h>
#include <sys/msg.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "virtual_router/daemon/record.h"

namespace {

constexpr char kQueuePath[] = "/dev/null";
constexpr int kQueueProject = 'u';
constexpr int kQueueMode = 0666;

// Larger than a record, so that a record of a wrong size is seen as it is.
struct Envelope {
    long type;
    char payload[8192];
};

// Runs a command of the router and prints what it prints, one indented line each.
void show_command(const char *command) {
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(command, "r"), pclose);
    if (!pipe) {
        std::perror(command);
        return;
    }
    char line[512];
    while (fgets(line, sizeof line, pipe.get()) != nullptr) {
        std::printf("daemon:   %s", line);
    }
}

void restart() {
    std::puts("daemon:   services start anew with:");
    show_command("for item in MIB_DUT_NAME MIB_TIME_ZONE_INDEX MIB_OP_MODE; do flash get $item; done 2>&1");
}

void reboot() {
    show_command("rm -f /var/app_sessionid; flash boot 2>&1");
    std::puts("daemon:   the router started anew; what was not committed is gone, and so is the session");
}

void reset() {
    show_command("flash default 2>&1");
    std::puts("daemon:   the factory's settings are back");
    reboot();
}

void not_played() {
    std::puts("daemon:   (nothing in this router acts on it yet)");
}

void act(Action action) {
    switch (action) {
        case Action::kRestart:
            restart();
            break;
        case Action::kReboot:
            reboot();
            break;
        case Action::kReset:
            reset();
            break;
        case Action::kNotPlayed:
            not_played();
            break;
    }
}

}  // namespace

int main() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const int queue = msgget(ftok(kQueuePath, kQueueProject), IPC_CREAT | kQueueMode);
    if (queue < 0) {
        std::perror("daemon: msgget");
        return 1;
    }
    static Envelope envelope;
    for (;;) {
        const ssize_t size = msgrcv(queue, &envelope, sizeof envelope.payload, 0, MSG_NOERROR);
        if (size >= 0) {
            const Message message = decode_record(envelope.type, {envelope.payload, static_cast<std::size_t>(size)});
            std::printf("daemon: %s\n", message.text.c_str());
            act(message.action);
        } else if (errno != EINTR) {
            std::perror("daemon: msgrcv");
            return 1;
        }
    }
}
