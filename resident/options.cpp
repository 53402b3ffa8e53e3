// SPDX-License-Identifier: MIT
#include "resident/options.h"

#include <getopt.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/range.h"
#include "resident/tell.h"

namespace {

constexpr char kBefore[] =
    "Usage: app.scgi [OPTIONS]\n"
    "\n"
    "Answers the requests that app.cgi answers, without a start for each: a few processes wait, warm, each serves one "
    "request\n"
    "and ends, and another takes its place. A web server asks by SCGI, over a Unix socket. The replies begin with "
    "header lines.\n"
    "Stays in the foreground; SIGTERM ends it when the requests that have come are served.\n"
    "\n";

constexpr char kAfter[] =
    "\n"
    "Whoever may connect to the socket says from which address a request comes, and so passes for the router itself: "
    "let nobody\n"
    "but the web server do so.\n"
    "\n"
    "Exit status: 0, ended by SIGTERM or SIGINT; 1, it cannot run; 2, wrong usage; with --requests that of the last "
    "request.\n";

enum class Kind { kText, kNumber, kOctal, kSwitch };

struct Row {
    const char *name;
    const char *value;  // what the help calls it; nullptr: a switch
    const char *help;
    Kind kind;
    int min;
    int max;
    const char *Options::*text;
    int Options::*number;
    bool Options::*flag;
};

constexpr Row text_row(const char *name, const char *value, const char *help, const char *Options::*text) {
    return {name, value, help, Kind::kText, 0, 0, text, nullptr, nullptr};
}

constexpr Row number_row(const char *name, const char *value, const char *help, int Options::*number, int min, int max,
                         Kind kind = Kind::kNumber) {
    return {name, value, help, kind, min, max, nullptr, number, nullptr};
}

constexpr int kMostProcesses = 256;
constexpr int kLongestWait = 3600;
constexpr int kMostMemory = 4095;
constexpr int kAllModes = 0777;

constexpr Row kRows[] = {
    text_row("socket", "PATH", "listen there (default: /var/run/app.scgi)", &Options::socket),
    number_row("socket-mode", "MODE", "rights of the socket, in octal (default: 600)", &Options::socket_mode, 0,
               kAllModes, Kind::kOctal),
    text_row("socket-owner", "USER[:GROUP]", "whose the socket is: the web server's user", &Options::socket_owner),
    text_row("user", "USER[:GROUP]", "serve as this user, once the socket is there", &Options::user),
    number_row("waiting", "N", "processes that wait for a request (default: 3)", &Options::waiting, 1, kMostProcesses),
    number_row("most", "N", "processes at once; more requests wait for their turn (default: 32)", &Options::most, 1,
               kMostProcesses),
    number_row("receive-seconds", "N", "drop a request that has not come whole by then (default: 20)",
               &Options::receive_seconds, 1, kLongestWait),
    number_row("memory", "MIB", "limit of each process's address space (default: none)", &Options::memory_mib, 1,
               kMostMemory),
    {"open-late", nullptr,
       "open the store when a request has come, for a store that does not show what others write later", Kind::kSwitch, 0,
       0, nullptr, nullptr, &Options::open_late},
    number_row("requests", "N", "end after so many requests, for tests", &Options::requests, 1, 1000000000),
};
constexpr int kRowCount = sizeof kRows / sizeof *kRows;
constexpr int kHelp = kRowCount;

void print_help() {
    fputs(kBefore, stdout);
    for (const Row &row : kRows) {
        char name[40];
        snprintf(name, sizeof name, "--%s %s", row.name, row.value != nullptr ? row.value : "");
        printf("  %-30s %s\n", name, row.help);
    }
    printf("  %-30s %s\n", "--help", "print this");
    fputs(kAfter, stdout);
}

bool take_number(const Row &row, const char *text, Options &options) {
    char *end = nullptr;
    const bool begins_well = *text >= '0' && *text <= '9';
    const long number = strtol(text, &end, row.kind == Kind::kOctal ? 8 : 10);
    if (!begins_well || *end != '\0' || !in_range<long>(number, row.min, row.max)) {
        if (row.kind == Kind::kOctal) {
            tell("--%s takes a mode from 0 to %o, not '%s'", row.name, static_cast<unsigned>(row.max), text);
        } else {
            tell("--%s takes a number from %d to %d, not '%s'", row.name, row.min, row.max, text);
        }
        return false;
    }
    options.*row.number = static_cast<int>(number);
    return true;
}

bool take(const Row &row, const char *text, Options &options) {
    switch (row.kind) {
        case Kind::kSwitch:
            options.*row.flag = true;
            return true;
        case Kind::kText:
            options.*row.text = text;
            return true;
        default:
            return take_number(row, text, options);
    }
}

bool fit_together(const Options &options) {
    constexpr size_t kLongest = sizeof sockaddr_un::sun_path - 1;
    if (!has_length(options.socket, 1, kLongest)) {
        tell("--socket takes a path of 1 to %zu bytes", kLongest);
        return false;
    }
    if (options.most < options.waiting) {
        tell("--most %d is less than the %d that wait", options.most, options.waiting);
        return false;
    }
    return true;
}

}  // namespace

bool parse_options(int argc, char **argv, Options &options, int &status) {
    constexpr int kWrongUsage = 2;
    option known[kRowCount + 2] = {};
    for (int i = 0; i < kRowCount; ++i) {
        known[i] = {kRows[i].name, kRows[i].value != nullptr ? required_argument : no_argument, nullptr, 0};
    }
    known[kHelp] = {"help", no_argument, nullptr, 0};
    status = kWrongUsage;
    int index = 0;
    int found;
    while ((found = getopt_long(argc, argv, "", known, &index)) != -1) {
        if (found != 0) {
            return false;  // it was told why
        }
        if (index == kHelp) {
            print_help();
            status = 0;
            return false;
        }
        if (!take(kRows[index], optarg, options)) {
            return false;
        }
    }
    if (optind < argc) {
        tell("there is no argument '%s' (see app.scgi --help)", argv[optind]);
        return false;
    }
    return fit_together(options);
}
