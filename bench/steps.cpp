// What a kind of request must do, whoever writes app.cgi: shell commands, writes to the store. Arguments:
//
//   popen COMMAND, system COMMAND    run it so, and read what it prints
//   number ID=VALUE, text ID=VALUE   write an item
//   commit 4                         commit the store, and write its settings file
#include "bench/steps.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/apmib.h"

namespace {

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

bool commit(const char *type) {
    return apmib_update(atoi(type)) != 0 && save_cs_to_file() == 0;
}

constexpr struct {
    const char *name;
    bool (*run)(const char *what);
} kWays[] = {
    {"popen",  run_by_popen },
    {"system", run_by_system},
    {"number", write_number },
    {"text",   write_text   },
    {"commit", commit       },
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
