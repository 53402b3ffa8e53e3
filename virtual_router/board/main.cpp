// SPDX-License-Identifier: MIT
// board WORD...: gives the board an order (see board.h).
#include <cstdio>
#include <cstring>
#include <string>

#include "virtual_router/board/board.h"

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: board keep NAME | lan ADDRESS MASK | replies | reset\n", stderr);
        return 2;
    }
    std::string words = argv[1];
    for (int i = 2; i < argc; ++i) {
        words += std::string(" ") + argv[i];
    }
    const int error = board::order(words.c_str());
    if (error != 0) {
        std::fprintf(stderr, "board: %s: %s\n", words.c_str(), std::strerror(error));
    }
    return error != 0;
}
