// SPDX-License-Identifier: MIT
#include "tests/runner/doubles/escape.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace {

constexpr int kNothing = -1;
constexpr int kFamilyOfNobody = 45;
constexpr long kAsked = static_cast<long>(0xffffffffUL);  // a personality that changes nothing
// An address whose lower half is zero, where there are such beside nullptr.
constexpr long kFar = sizeof(long) > 4 ? static_cast<long>(1ULL << 32) : 1;
#ifdef SYS_mmap2
constexpr long kMap = SYS_mmap2;
#else
constexpr long kMap = SYS_mmap;
#endif

// Each call is made so that it does no harm, mostly so that it fails with another error than EPERM where the kernel
// looks at it.
struct Attempt {
    const char *name;
    long number;
    long arguments[6];
};
constexpr Attempt kAttempts[] = {
    {"chroot",            SYS_chroot,      {0}                                                                       },
    {"ptrace",            SYS_ptrace,      {16, kNothing}                                                            },
    {"personality",       SYS_personality, {kAsked}                                                                  },
    {"unshare",           SYS_unshare,     {CLONE_NEWUTS | CLONE_THREAD}                                             },
    {"clone name spaces", SYS_clone,       {CLONE_NEWUSER | CLONE_THREAD}                                            },
    {"execveat",          SYS_execveat,    {kNothing}                                                                },
    {"type",              SYS_ioctl,       {kNothing, TIOCSTI}                                                       },
    {"paste",             SYS_ioctl,       {kNothing, TIOCLINUX}                                                     },
    {"odd socket",        SYS_socket,      {kFamilyOfNobody, SOCK_STREAM, 0}                                         },
    {"fork",              SYS_clone,       {CLONE_THREAD}                                                            },
    {"execve",            SYS_execve,      {0}                                                                       },
    {"kill",              SYS_kill,        {0, -1}                                                                   },
    {"tgkill",            SYS_tgkill,      {kNothing, kNothing, 0}                                                   },
    {"tkill",             SYS_tkill,       {kNothing, 0}                                                             },
    {"signals of a file", SYS_fcntl,       {kNothing, F_SETSIG, SIGKILL}                                             },
    {"signals to others", SYS_fcntl,       {kNothing, F_SETOWN, 1}                                                   },
    {"signals of socket", SYS_ioctl,       {kNothing, static_cast<long>(FIOSETOWN)}                                  },
    {"chmod",             SYS_fchmodat,    {kNothing, 0}                                                             },
    {"link",              SYS_linkat,      {kNothing, 0, kNothing, 0}                                                },
    {"connecting",        SYS_connect,     {kNothing}                                                                },
    {"sending to",        SYS_sendto,      {kNothing, 0, 0, 0, 1, 0}                                                 },
    {"sending far",       SYS_sendto,      {kNothing, 0, 0, 0, kFar, 0}                                              },
    {"sending a message", SYS_sendmsg,     {kNothing}                                                                },
    {"kernel socket",     SYS_socket,      {AF_NETLINK, SOCK_STREAM, 0}                                              },
    {"far socket",        SYS_socket,      {AF_INET6, kNothing, 0}                                                   },
#ifdef SYS_msgsnd
    {"put into a queue",  SYS_msgsnd,      {kNothing}                                                                },
    {"take from a queue", SYS_msgrcv,      {kNothing}                                                                },
    {"remove a queue",    SYS_msgctl,      {kNothing, IPC_STAT}                                                      },
#endif
    {"setuid",            SYS_setresuid,   {-1, -1, -1}                                                              },
    {"set a limit",       SYS_prlimit64,   {0, kNothing, 1, 0}                                                       },
    {"set a far limit",   SYS_prlimit64,   {0, kNothing, kFar, 0}                                                    },
    {"new code",          kMap,            {0, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, kNothing, 0}},
    {"code of data",      SYS_mprotect,    {1, 0, PROT_READ | PROT_EXEC}                                             },
#ifdef SYS_shmat
    {"shared code",       SYS_shmat,       {kNothing, 0, SHM_EXEC}                                                   },
#endif
};

}  // namespace

void try_to_escape() {
    static bool tried;
    if (tried) {
        return;
    }
    tried = true;
    const int file = open("/.runner/escape", O_WRONLY | O_APPEND | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    dprintf(file, "began\n");
    for (const Attempt &attempt : kAttempts) {
        const long *const with = attempt.arguments;
        errno = 0;
        if (syscall(attempt.number, with[0], with[1], with[2], with[3], with[4], with[5]) != -1 || errno != EPERM) {
            dprintf(file, "%s\n", attempt.name);
        }
    }
    close(file);
}
