// SPDX-License-Identifier: MIT
// A double of /bin/sh: logs the exact command text and answers from the case's table, without running anything. Under
// any other name it is a double of that program, and its command's text is its name and its arguments, blanks between.
//
// The table is a file of entries, each "LENGTH STATUS OUTPUT-LENGTH REMOVED-LENGTH\n" followed by the command, its
// output and the path of a file that it removes ("" for none), LENGTH and so on counting bytes. The first entry whose
// command equals the text is the answer. A command that the table lacks is logged as unexpected and answers status 127.
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/runner/doubles/events.h"

namespace {

char g_table[8 << 20];
char g_line[1 << 20];

void log_command(const char *command, bool expected) {
    EventLine event(g_line);
    if (!expected) {
        event.mark(EventMark::kUnexpected);
    }
    event.begin(Event::kRun);
    event.rest(command, strlen(command));
    append_event(event);
}

size_t read_table() {
    const int file = open("/.runner/commands", O_RDONLY | O_CLOEXEC);
    size_t size = 0;
    ssize_t got;
    while (file >= 0 && (got = read(file, g_table + size, sizeof(g_table) - 1 - size)) > 0) {
        size += static_cast<size_t>(got);
    }
    return size;
}

// Puts the environment into a file of its own, if that is there: entries with zero bytes behind them.
void tell_environment() {
    const int file = open("/.runner/environment", O_WRONLY | O_APPEND | O_CLOEXEC);
    for (char **entry = environ; file >= 0 && *entry != nullptr; ++entry) {
        if (write(file, *entry, strlen(*entry) + 1) < 0) {
            __builtin_trap();
        }
    }
}

// Plays a program that does not end, and that is not found in the group in which it was started, if the runner wants
// one.
void hang_elsewhere() {
    if (access("/.runner/elsewhere", F_OK) == 0 && setpgid(0, getpgid(getppid())) == 0) {
        pause();
    }
}

// Writes all of it, or as much as the reader wants to have.
void answer(const char *text, size_t size) {
    while (size > 0) {
        const ssize_t put = write(STDOUT_FILENO, text, size);
        if (put <= 0) {
            return;
        }
        text += put;
        size -= static_cast<size_t>(put);
    }
}

// The words of a command line with blanks between; what does not fit is left out.
const char *join_words(char **words) {
    static char text[1 << 20];
    size_t length = 0;
    for (char **word = words; *word != nullptr; ++word) {
        const int added = snprintf(text + length, sizeof(text) - length, "%s%s", word == words ? "" : " ", *word);
        length += added < 0 ? 0 : static_cast<size_t>(added);
        length = length < sizeof(text) ? length : sizeof(text) - 1;
    }
    return text;
}

}  // namespace

int main(int argc, char **argv) {
    const bool is_shell = strcmp(argv[0], "sh") == 0 || strcmp(argv[0], "/bin/sh") == 0;
    // The C library calls "sh -c COMMAND", newer ones "sh -c -- COMMAND".
    if (is_shell && (argc < 3 || strcmp(argv[1], "-c") != 0)) {
        log_command(argc > 1 ? argv[1] : "", false);
        return 127;
    }
    tell_environment();
    hang_elsewhere();
    const char *command = is_shell ? argv[argc - 1] : join_words(argv);
    signal(SIGPIPE, SIG_IGN);  // a reader that has seen enough is no failure
    const size_t length = strlen(command);
    const char *end = g_table + read_table();
    for (const char *entry = g_table; entry < end;) {
        size_t command_length = 0;
        int status = 0;
        size_t output_length = 0;
        size_t removed_length = 0;
        int header = 0;
        if (sscanf(entry, "%zu %d %zu %zu%n", &command_length, &status, &output_length, &removed_length, &header) !=
            4) {
            __builtin_trap();
        }
        const char *text = entry + header + 1;
        const char *output = text + command_length;
        const char *removed = output + output_length;
        if (command_length == length && memcmp(text, command, length) == 0) {
            log_command(command, true);
            if (removed_length > 0) {
                char path[256];
                snprintf(path, sizeof(path), "%.*s", static_cast<int>(removed_length), removed);
                unlink(path);
            }
            answer(output, output_length);
            return status;
        }
        entry = removed + removed_length;
    }
    log_command(command, false);
    return 127;
}
