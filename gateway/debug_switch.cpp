#include "gateway/debug_switch.h"

#include <sys/stat.h>

#include <cstdio>

#include "base/input.h"
#include "base/resource.h"

namespace {
constexpr char kSwitchPath[] = "/var/appdebug";
}

int read_debug_switch() {
    struct stat status;
    if (stat(kSwitchPath, &status) != 0) {
        return 0;
    }
    const File file = open_file(kSwitchPath);
    if (!file) {
        fprintf(stderr, "Read %s error!\n", kSwitchPath);
        return 0;
    }
    char line[10];
    read_line(file.get(), line);
    return decimal_value(line);
}
