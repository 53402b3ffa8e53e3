// SPDX-License-Identifier: MIT
// Requests with their environment, one after another, on any router: the whole road of main().
#include <cstring>

#include "tests/fuzz/target.h"

const Taste kTaste = {
    {"body",  "body", "body",     "body", "body",    "body",       "body",   "body",    "item",   "item",
     "item",    "file", "file",     "fail", "fail",    "env",        "no-env", "no-file", "sealed", "unreadable",
     "command", "arp",  "stations", "mute", "address", "no-address", "clock",  "pieces"},
    {}
};

void run_script(const Script &script) {
    bool has_length = false;  // CONTENT_LENGTH is what the script says
    for (const Section &section : script) {
        apply(section);
        has_length = has_length || section.name == "CONTENT_LENGTH";
        if (section.kind != "body") {
            continue;
        }
        if (has_length) {
            router.body = section.content;
        } else {
            give_body(section.content);
        }
        ask();
        ++router.now;
    }
}
