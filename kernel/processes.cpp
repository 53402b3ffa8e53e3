// SPDX-License-Identifier: MIT
#include "kernel/processes.h"

#include <dirent.h>
#include <sys/types.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>

#include "base/input.h"
#include "base/shortage.h"
#include "base/text.h"

namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

// Whether the process of this number has the name: its line in /proc reads "1234 (name) S ...".
bool has_name(const char *number, const char *name) {
    char path[64];
    char line[64];  // number and name have their place in it
    if (!join(path, {"/proc/", number, "/stat"}) || !read_beginning(path, line)) {
        return false;
    }
    const char *const begin = strchr(line, '(');
    const char *const end = strrchr(line, ')');
    return begin != nullptr && end > begin && strlen(name) == static_cast<size_t>(end - begin - 1) &&
           strncmp(begin + 1, name, strlen(name)) == 0;
}

}  // namespace

bool signal_processes(const char *name, int signal) {
    const std::unique_ptr<DIR, CloseFolder> processes(opendir("/proc"));
    if (!processes) {
        note_shortage_if(errno);
    }
    bool found = false;
    while (processes) {
        const dirent *const entry = readdir(processes.get());
        if (entry == nullptr) {
            break;
        }
        const char *const number = entry->d_name;
        if (number[strspn(number, "0123456789")] == '\0' && has_name(number, name)) {
            found = kill(decimal_value(number), signal) == 0 || found;
        }
    }
    return found;
}
