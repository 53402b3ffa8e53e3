# SPDX-License-Identifier: MIT
"""What a program of the router may do, whatever it is: it may be run by order of a request, and is taken for hostile.

The kernel is told so by the program's process itself, just before it becomes the program.
"""

import ctypes
import errno
import os
import resource
import socket
import stat
import tempfile

import seccomp

import kernel

# As numbers of the kernel. They hold in the router's own user namespace only: over its own network and its own files.
CAP_DAC_OVERRIDE, CAP_FOWNER, CAP_NET_BIND_SERVICE, CAP_NET_ADMIN, CAP_NET_RAW = 1, 3, 10, 12, 13
CAPABILITIES = (CAP_DAC_OVERRIDE, CAP_FOWNER, CAP_NET_BIND_SERVICE, CAP_NET_ADMIN, CAP_NET_RAW)

MEBIBYTE = 1 << 20

# Of the root's file system, which lies in memory.
ROOT_BYTES = 64 * MEBIBYTE
ROOT_FILES = 16384

# Of what the router finds of the world outside.
OUTSIDE_BYTES = 16 * MEBIBYTE
OUTSIDE_FILES = 1024

MOST_PROCESSES = 256  # of the router's user in its namespace

# Of everything virtual together: what the kernel otherwise counts against whoever started it, whose own programs would go without.
MOST_WATCHERS = 64
MOST_WATCHES = 4096

# Of everything virtual together, the premises' own programs among it, where a control group can be had.
ALL_BYTES = 512 * MEBIBYTE
ALL_PROCESSES = 512

# Of each process.
LIMITS = {
    resource.RLIMIT_CORE: 0,
    resource.RLIMIT_NOFILE: 1024,
    resource.RLIMIT_FSIZE: 32 * MEBIBYTE,
    resource.RLIMIT_DATA: 128 * MEBIBYTE,
    resource.RLIMIT_AS: 1024 * MEBIBYTE,
    resource.RLIMIT_MEMLOCK: 64 << 10,
    resource.RLIMIT_MSGQUEUE: 0,
    resource.RLIMIT_SIGPENDING: 256,  # timers, too; the kernel counts them against whoever started the router
}

FIRST_VICTIM = 1000

# Calls that no program of a router needs, and that reach what is not the router's: mounts and namespaces, other processes, the
# kernel's programs, modules, keys, clocks and swap, and memory that no limit of a file system counts.
DENIED = """
    mount umount2 umount pivot_root chroot fsopen fsconfig fsmount fspick open_tree move_mount mount_setattr
    unshare setns name_to_handle_at open_by_handle_at quotactl quotactl_fd
    process_vm_readv process_vm_writev process_madvise pidfd_getfd kcmp move_pages migrate_pages
    bpf perf_event_open userfaultfd io_uring_setup io_uring_enter io_uring_register fanotify_init lookup_dcookie
    init_module finit_module delete_module create_module kexec_load kexec_file_load
    keyctl add_key request_key
    settimeofday stime clock_settime clock_adjtime adjtimex
    sethostname setdomainname syslog acct reboot swapon swapoff iopl ioperm modify_ldt vhangup uselib nfsservctl _sysctl
    shmget shmat semget mq_open memfd_create memfd_secret
""".split()
DENIED_UNTRACED = ("ptrace",)  # proot needs it
# Landlock does not keep anybody from these, and the files and devices are not the router's own there. Messages to a socket's path are
# among them, which proot lets pass as they are.
DENIED_WITH_PROOT = """
    sendmsg sendmmsg
    chmod fchmod fchmodat fchmodat2 chown fchown lchown fchownat
    setxattr lsetxattr fsetxattr setxattrat removexattr lremovexattr fremovexattr removexattrat
""".split()
NEEDED_BY_PROOT = ("process_vm_readv", "process_vm_writev", "memfd_create")

# With proot, whose programs see the PC's processes: calls on a process, which may be the caller itself, and the argument that says which.
OF_A_PROCESS = {
    "prlimit64": 0, "sched_setaffinity": 0, "sched_setscheduler": 0, "sched_setparam": 0, "sched_setattr": 0, "setpriority": 1, "ioprio_set": 1,
}  # fmt: skip
OF_ONE_PROCESS = {"setpriority": 0, "ioprio_set": 1}  # the value of their first argument that means no group and no user

NAMESPACE_FLAGS = (0x00000080, 0x00020000, 0x02000000, 0x04000000, 0x08000000, 0x10000000, 0x20000000, 0x40000000)
TERMINAL_REQUESTS = (0x5412, 0x541C, 0x5423)  # TIOCSTI, TIOCLINUX, TIOCSETD: input that nobody typed
SET_LEASE = 1024  # of fcntl: whoever else opens the file waits
SET_ID_BITS = (stat.S_ISUID, stat.S_ISGID)
DEVICE_KINDS = (stat.S_IFCHR, stat.S_IFBLK)
# system call: its arguments that are modes, and the one whose flag must be set for that
MODE_CALLS = {"chmod": 1, "fchmod": 1, "fchmodat": 2, "fchmodat2": 2, "creat": 1, "mkdir": 1, "mkdirat": 2, "mknod": 1, "mknodat": 2}
MODE_CALLS_THAT_CREATE = {"open": (1, 2), "openat": (2, 3)}
NETWORK_FAMILIES = (socket.AF_UNIX, socket.AF_INET, socket.AF_INET6, socket.AF_NETLINK, socket.AF_PACKET)
MOST_FAMILIES = 64


def _filter(families, denied, queue):
    """The filter for the kernel, as bytes. `queue`: the key and the id of the only message queue, where proot is at work; None: any."""
    rules = seccomp.SyscallFilter(seccomp.ALLOW)
    # Of another architecture none is let in. proot makes what it has carried out itself a call that there is not.
    rules.set_attr(seccomp.Attr.ACT_BADARCH, seccomp.ERRNO(errno.ENOSYS))
    refused = seccomp.ERRNO(errno.EPERM)

    def deny(call, *arguments):
        try:
            rules.add_rule(refused, call, *arguments)
        except RuntimeError:  # this processor's kernel has no such call
            pass

    def has(argument, bits, value=None):
        return seccomp.Arg(argument, seccomp.MASKED_EQ, bits, bits if value is None else value)

    for call in denied:
        deny(call)
    for flag in NAMESPACE_FLAGS:
        deny("clone", has(0, flag))
    if queue is None:
        # Its flags cannot be seen; clone takes its place. Programs under proot do not survive that.
        rules.add_rule(seccomp.ERRNO(errno.ENOSYS), "clone3")
    for request in TERMINAL_REQUESTS:
        deny("ioctl", has(1, 0xFFFFFFFF, request))
    deny("fcntl", has(1, 0xFFFFFFFF, SET_LEASE))
    for bit in SET_ID_BITS:
        for call, mode in MODE_CALLS.items():
            deny(call, has(mode, bit))
        for call, (flags, mode) in MODE_CALLS_THAT_CREATE.items():
            deny(call, has(flags, os.O_CREAT), has(mode, bit))
    for kind in DEVICE_KINDS:
        for call in ("mknod", "mknodat"):
            deny(call, has(MODE_CALLS[call], stat.S_IFMT(0o170000), kind))
    for family in range(MOST_FAMILIES):
        if family not in families:
            deny("socket", seccomp.Arg(0, seccomp.EQ, family))
            deny("socketpair", seccomp.Arg(0, seccomp.EQ, family))
    deny("socket", seccomp.Arg(0, seccomp.GE, MOST_FAMILIES))
    if queue is not None:
        deny("sendto", seccomp.Arg(4, seccomp.NE, 0))
        for call, which in OF_A_PROCESS.items():
            deny(call, seccomp.Arg(which, seccomp.NE, 0))
        for call, kind in OF_ONE_PROCESS.items():
            deny(call, seccomp.Arg(0, seccomp.NE, kind))
        key, number = queue
        deny("msgget", seccomp.Arg(0, seccomp.NE, key & 0xFFFFFFFF))
        for call in ("msgsnd", "msgrcv", "msgctl"):
            deny(call, seccomp.Arg(0, seccomp.NE, number))
    with tempfile.TemporaryFile() as file:
        rules.export_bpf(file)
        file.seek(0)
        return file.read()


def namespaces_filter():
    return _filter(NETWORK_FAMILIES, [*DENIED, *DENIED_UNTRACED], None)


def proot_filter(key, queue):
    """Where there is no network of the router's own, there is none."""
    denied = [call for call in DENIED if call not in NEEDED_BY_PROOT]
    return _filter((socket.AF_UNIX,), [*denied, *DENIED_WITH_PROOT], (key, queue))


def put_filter_in_force(program):
    class Program(ctypes.Structure):
        _fields_ = [("length", ctypes.c_ushort), ("code", ctypes.c_char_p)]

    libc = ctypes.CDLL(None, use_errno=True)
    kernel.refuse_new_privileges()
    pr_set_seccomp, mode_filter, instruction_bytes = 22, 2, 8
    code = Program(len(program) // instruction_bytes, program)
    if libc.prctl(pr_set_seccomp, mode_filter, ctypes.byref(code), 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "the kernel takes no filter of system calls")


def become_first_victim():
    """This process, and what it starts, ends before others when there is no memory left. What it holds in the kernel, such as bytes that
    nobody has read from a socket, does not count as its own: others would have to end for it."""
    kernel.set_dumpable(True)  # else the file is not its own
    try:
        with open("/proc/self/oom_score_adj", "w") as file:
            file.write(str(FIRST_VICTIM))
    except OSError:
        pass  # a container may have /proc for reading only
    kernel.set_dumpable(False)


def limit_resources(most_processes=None):
    os.umask(0o077)
    limits = dict(LIMITS)
    if most_processes is not None:
        limits[resource.RLIMIT_NPROC] = most_processes
    for kind, most in limits.items():
        hard = resource.getrlimit(kind)[1]
        if hard != resource.RLIM_INFINITY:
            most = min(most, hard)
        resource.setrlimit(kind, (most, most))


# Landlock, which takes the place of a file system and a network of the router's own as far as it can.
_EXECUTE, _WRITE_FILE, _READ_FILE, _READ_DIR = 1, 2, 4, 8
_ALL_FILES_V1 = (1 << 13) - 1
_REFER, _TRUNCATE, _IOCTL_DEVICE = 1 << 13, 1 << 14, 1 << 15
_BIND_TCP, _CONNECT_TCP = 1, 2
_SCOPE_ABSTRACT_SOCKETS, _SCOPE_SIGNALS = 1, 2


def landlock_gaps():
    """What Landlock cannot keep out on this machine, in words."""
    version = kernel.landlock_version()
    gaps = ["sockets that have a path"]
    if version == 0:
        gaps.append("files of whoever started it")
    if version < 6:
        gaps.append("signals to other processes of whoever started it")
    return gaps


def close_off_processes():
    """Keeps this process and all that it starts from others' processes, abstract sockets and TCP. Among themselves they are free."""
    version = kernel.landlock_version()
    network = _BIND_TCP | _CONNECT_TCP if version >= 4 else 0
    scoped = _SCOPE_ABSTRACT_SOCKETS | _SCOPE_SIGNALS if version >= 6 else 0
    if network or scoped:
        kernel.landlock(0, network, scoped, [])


def close_off_files(own_folders, shared_folders, devices):
    """Leaves this process its own folders, and the shared ones for reading."""
    version = kernel.landlock_version()
    if version == 0:
        return
    truncate = _TRUNCATE if version >= 3 else 0
    files = _ALL_FILES_V1 | (_REFER if version >= 2 else 0) | truncate | (_IOCTL_DEVICE if version >= 5 else 0)
    rules = [(folder, files & ~_IOCTL_DEVICE) for folder in own_folders]
    rules += [(path, _EXECUTE | _READ_FILE | (_READ_DIR if os.path.isdir(path) else 0)) for path in shared_folders]
    rules += [(device, _READ_FILE | _WRITE_FILE | truncate) for device in devices]
    kernel.landlock(files, 0, 0, rules)
