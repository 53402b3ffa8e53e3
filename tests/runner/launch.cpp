// Starts the program under test inside its root, with the limits and faults that a case asks for, and becomes it.
//
//   launch [-r ROOT] [-w FOLDER] [-p] [-m BYTES] [-f CALL=ERRNO]... PROGRAM [ARGUMENT]...
//
//   -r ROOT        change the root folder first
//   -w FOLDER      change to this folder, inside the root
//   -p             make /proc/PID point at the real one, for tools that look there
//   -m BYTES       limit the address space
//   -f CALL=ERRNO  let this system call fail with this error number
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

namespace {

struct Call {
    const char *name;
    long number;
};

constexpr Call kCalls[] = {
    {"msgget",  SYS_msgget },
    {"msgsnd",  SYS_msgsnd },
    {"pipe2",   SYS_pipe2  },
    {"clone3",  SYS_clone3 },
    {"socket",  SYS_socket },
    {"sysinfo", SYS_sysinfo},
};

constexpr size_t kMaxFaults = 8;

struct Fault {
    uint32_t call;
    uint32_t error;
};

[[noreturn]] void give_up(const char *what) {
    perror(what);
    _exit(125);
}

uint32_t call_number(const char *name, size_t length) {
    for (const Call &call : kCalls) {
        if (strlen(call.name) == length && memcmp(call.name, name, length) == 0) {
            return static_cast<uint32_t>(call.number);
        }
    }
    give_up(name);
}

// The filter compares numbers of the machine's own calls only: the program under test makes no others.
void install_faults(const Fault *faults, size_t count) {
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
    Fault faults[kMaxFaults];
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
            case 'f': {
                const char *error = strchr(optarg, '=');
                if (error == nullptr || fault_count == kMaxFaults) {
                    give_up(optarg);
                }
                faults[fault_count++] = {call_number(optarg, static_cast<size_t>(error - optarg)),
                                         static_cast<uint32_t>(atoi(error + 1))};
                break;
            }
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
