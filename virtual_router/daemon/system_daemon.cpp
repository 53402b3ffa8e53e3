// SPDX-License-Identifier: MIT
// The router's system daemon: reads the message queue, prints each record, and has the router's command do what it
// asks; has commands run at their times, too. One runs after another. Runs until it is killed.
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/system_queue.h"
#include "virtual_router/console/printable.h"
#include "virtual_router/daemon/record.h"
#include "virtual_router/daemon/timetable.h"

namespace {

// Larger than a record, so that a record of a wrong size is seen as it is.
struct Envelope {
    long type;
    char payload[8192];
};

// Becomes the command. Its words come from outside, so no shell reads them.
[[noreturn]] void become(const std::vector<std::string> &command, int output) {
    std::vector<char *> words;
    for (const std::string &word : command) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execvp(words[0], words.data());
    std::perror(words[0]);
    _exit(127);
}

// Prints what arrives, one indented line each, until the writers have gone.
void show_lines(int input) {
    const std::unique_ptr<FILE, int (*)(FILE *)> lines(fdopen(input, "r"), fclose);
    char *line = nullptr;
    std::size_t room = 0;
    for (ssize_t length = 0; (length = getline(&line, &room, lines.get())) >= 0;) {
        std::string_view text(line, static_cast<std::size_t>(length));
        if (!text.empty() && text.back() == '\n') {
            text.remove_suffix(1);
        }
        std::printf("daemon:   %s\n", printable(text).c_str());
    }
    std::free(line);
}

void run(const std::vector<std::string> &command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {  // what a command leaves running must not keep the pipe open
        std::perror("daemon: pipe");
        return;
    }
    const pid_t child = fork();
    if (child == 0) {
        become(command, ends[1]);
    }
    close(ends[1]);
    if (child < 0) {
        std::perror("daemon: fork");
        close(ends[0]);
        return;
    }
    show_lines(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) {
        std::printf("daemon:   (%s failed)\n", command[0].c_str());
    }
}

std::mutex turn;  // of what is done and printed

// Prints what there is to do, and does it.
void act(const std::string &what, const std::vector<std::string> &command, const std::string &note) {
    const std::lock_guard<std::mutex> lock(turn);
    std::printf("daemon: %s\n", what.c_str());
    if (command.empty()) {
        std::printf("daemon:   %s\n", note.c_str());
    } else {
        run(command);
    }
}

}  // namespace

int main() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const int queue = msgget(ftok(SYSTEM_QUEUE_PATH, kSystemQueueProject), IPC_CREAT | kSystemQueueMode);
    if (queue < 0) {
        std::perror("daemon: msgget");
        return 1;
    }
    std::thread([] {
        keep_timetable([](const std::string &why, const std::vector<std::string> &command) {
            act(why + ": " + command[0], command, "");
        });
    }).detach();
    static Envelope envelope;
    for (;;) {
        const ssize_t size = msgrcv(queue, &envelope, sizeof envelope.payload, 0, MSG_NOERROR);
        if (size >= 0) {
            const Message message = decode_record(envelope.type, {envelope.payload, static_cast<std::size_t>(size)});
            act(message.text, message.command, message.note);
        } else if (errno != EINTR) {
            std::perror("daemon: msgrcv");
            return 1;
        }
    }
}
