// SPDX-License-Identifier: MIT
// Starts the program under test inside its root, with the limits and faults that a case asks for, and becomes it.
//
//   launch [-r ROOT] [-w FOLDER] [-p] [-m BYTES] [-f FAULT]... PROGRAM [ARGUMENT]...
//
//   -r ROOT        change the root folder first
//   -w FOLDER      change to this folder, inside the root
//   -p             make /proc/PID point at the real one, for tools that look there
//   -m BYTES       limit the address space
//   -f FAULT       a system call's, as virtual_router/vocabulary/faults.conf has it: failed=ENOSPC msgget
//
// The environment is passed on as it is. Exit status 125: something of this failed.
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "virtual_router/vocabulary/fault.h"

namespace {

struct SystemCall {
    Call call;
    long number;
};

constexpr SystemCall kSystemCalls[] = {
    {Call::kMsgget,  SYS_msgget },
    {Call::kMsgsnd,  SYS_msgsnd },
    {Call::kPipe2,   SYS_pipe2  },
    {Call::kClone3,  SYS_clone3 },
    {Call::kSocket,  SYS_socket },
    {Call::kSysinfo, SYS_sysinfo},
};

constexpr size_t kMaxFaults = 8;

// What the filter does: it knows numbers only, and cannot count.
struct Refusal {
    uint32_t call;
    uint32_t error;
};

[[noreturn]] void give_up(const char *what) {
    perror(what);
    _exit(125);
}

uint32_t error_number(const char *name) {
    constexpr int kLastError = 133;
    for (int error = 1; error <= kLastError; ++error) {
        const char *known = strerrorname_np(error);
        if (known != nullptr && strcmp(known, name) == 0) {
            return static_cast<uint32_t>(error);
        }
    }
    give_up(name);
}

Refusal read_refusal(const char *line) {
    Fault fault;
    if (!parse_fault(line, &fault) || !fault.is_plain() || fault.item[0] != '\0') {
        give_up(line);
    }
    for (const SystemCall &known : kSystemCalls) {
        if (known.call == fault.call) {
            return {static_cast<uint32_t>(known.number), error_number(fault.how)};
        }
    }
    give_up(line);
}

// The filter compares numbers of the machine's own calls only: the program under test makes no others.
void install_faults(const Refusal *faults, size_t count) {
    sock_filter program[2 * kMaxFaults + 2];
    uint16_t used = 0;
    program[used++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    for (size_t i = 0; i < count; ++i) {
        program[used++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, faults[i].call, 0, 1);
        program[used++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | (faults[i].error & SECCOMP_RET_DATA));
    }
    program[used++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    const sock_fprog filter = {used, program};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) {
        give_up("seccomp");
    }
}

}  // namespace

int main(int argc, char **argv) {
    const char *root = nullptr;
    const char *folder = "/";
    bool link_proc = false;
    rlim_t memory = RLIM_INFINITY;
    Refusal faults[kMaxFaults];
    size_t fault_count = 0;
    int option;
    while ((option = getopt(argc, argv, "+r:w:pm:f:")) != -1) {
        switch (option) {
            case 'r':
                root = optarg;
                break;
            case 'w':
                folder = optarg;
                break;
            case 'p':
                link_proc = true;
                break;
            case 'm':
                memory = strtoul(optarg, nullptr, 10);
                break;
            case 'f':
                if (fault_count == kMaxFaults) {
                    give_up(optarg);
                }
                faults[fault_count++] = read_refusal(optarg);
                break;
            default:
                _exit(125);
        }
    }
    if (optind >= argc) {
        give_up("no program");
    }
    if ((root != nullptr && chroot(root) != 0) || chdir(folder) != 0) {
        give_up("root");
    }
    if (link_proc) {
        char real[64];
        char seen[64];
        snprintf(real, sizeof(real), "/.runner/proc/%d", getpid());
        snprintf(seen, sizeof(seen), "/proc/%d", getpid());
        if (symlink(real, seen) != 0) {
            give_up(seen);
        }
    }
    const rlimit no_core = {0, 0};
    const rlimit space = {memory, memory};
    if (setrlimit(RLIMIT_CORE, &no_core) != 0 || setrlimit(RLIMIT_AS, &space) != 0) {
        give_up("limits");
    }
    if (fault_count > 0) {
        install_faults(faults, fault_count);
    }
    execv(argv[optind], argv + optind);
    give_up(argv[optind]);
}
