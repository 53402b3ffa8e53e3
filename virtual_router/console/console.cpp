// SPDX-License-Identifier: MIT
// console NAME: prints each line of its standard input with "NAME: " before it, at once and made fit for a terminal.
// Empty lines are left out: the router's programs end many of theirs with two line feeds. Ends with its input.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "virtual_router/console/printable.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fputs("usage: console NAME\n", stderr);
        return 2;
    }
    char *line = nullptr;
    std::size_t room = 0;
    ssize_t length = 0;
    while ((length = getline(&line, &room, stdin)) >= 0) {
        std::string_view text(line, static_cast<std::size_t>(length));
        if (!text.empty() && text.back() == '\n') {
            text.remove_suffix(1);
        }
        if (!text.empty()) {
            std::printf("%s: %s\n", argv[1], printable(text).c_str());
            std::fflush(stdout);
        }
    }
    std::free(line);
    return 0;
}
