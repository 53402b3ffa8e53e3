# SPDX-License-Identifier: MIT
"""System calls that Python's library does not have. Each raises OSError."""

import ctypes
import os
import sys

_LIBC = ctypes.CDLL(None, use_errno=True)

CLONE_NEWNS = 0x00020000
CLONE_NEWUTS = 0x04000000
CLONE_NEWIPC = 0x08000000
CLONE_NEWUSER = 0x10000000
CLONE_NEWPID = 0x20000000
CLONE_NEWNET = 0x40000000

MS_BIND = 0x1000
MS_REC = 0x4000
MS_PRIVATE = 0x40000
MS_NOSUID = 0x2
MS_NODEV = 0x4
MS_NOEXEC = 0x8
MNT_DETACH = 2

ATTR_RDONLY = 0x1
ATTR_NOSUID = 0x2
ATTR_NODEV = 0x4
ATTR_NOEXEC = 0x8

_AT_FDCWD = -100
_AT_RECURSIVE = 0x8000
_AT_EMPTY_PATH = 0x1000
_OPEN_TREE_CLONE = 1
_MOVE_FROM_FD = 0x04
_MOVE_TO_FD = 0x40

_PR_SET_PDEATHSIG = 1
_PR_SET_DUMPABLE = 4
_PR_CAPBSET_DROP = 24
_PR_SET_NAME = 15
_PR_SET_CHILD_SUBREAPER = 36
_PR_SET_NO_NEW_PRIVS = 38
_PR_CAP_AMBIENT = 47
_PR_CAP_AMBIENT_CLEAR_ALL = 4

# These have the same number on every processor.
_SYS_OPEN_TREE = 428
_SYS_MOVE_MOUNT = 429
_SYS_OPENAT2 = 437
_SYS_MOUNT_SETATTR = 442
_SYS_LANDLOCK_CREATE_RULESET = 444
_SYS_LANDLOCK_ADD_RULE = 445
_SYS_LANDLOCK_RESTRICT_SELF = 446

IN_CLOSE_WRITE = 0x8
IN_MOVED_TO = 0x80

IPC_CREAT = 0o1000
IPC_EXCL = 0o2000
IPC_RMID = 0


def _checked(result, what=""):
    if result < 0:
        number = ctypes.get_errno()
        raise OSError(number, os.strerror(number), what or None)
    return result


def _path(path):
    return os.fsencode(path) if path is not None else None


def unshare(flags):
    _checked(_LIBC.unshare(flags))


def setns(fd, kind):
    _checked(_LIBC.setns(fd, kind))


def mount(source, target, kind=None, flags=0, options=None):
    _checked(_LIBC.mount(_path(source), _path(target), _path(kind), ctypes.c_ulong(flags), _path(options)), target)


def unmount(target, flags=MNT_DETACH):
    _checked(_LIBC.umount2(_path(target), flags), target)


def pivot_root(new, old):
    _checked(_LIBC.pivot_root(_path(new), _path(old)), new)


def restrict_mount(path, attributes, recursive=False):
    """Adds attributes such as ATTR_RDONLY to a mount, and leaves it the others that it has."""
    change = (ctypes.c_uint64 * 4)(attributes, 0, 0, 0)
    flags = _AT_RECURSIVE if recursive else 0
    _checked(_LIBC.syscall(_SYS_MOUNT_SETATTR, _AT_FDCWD, _path(path), flags, change, ctypes.sizeof(change)), path)


def make_chroot_a_root():
    """In a chroot: enters a mount namespace whose root is the chroot's. Elsewhere no user namespace can be made in it. For
    root only."""
    unshare(CLONE_NEWNS)
    root = os.open("/", os.O_PATH | os.O_DIRECTORY)
    space = os.open("/proc/self/ns/mnt", os.O_RDONLY)
    setns(space, CLONE_NEWNS)  # which is to be in it already, but for the root
    mount(None, "/", None, MS_REC | MS_PRIVATE)
    tree = _checked(_LIBC.syscall(_SYS_OPEN_TREE, root, b"", _OPEN_TREE_CLONE | _AT_RECURSIVE | _AT_EMPTY_PATH))
    _checked(_LIBC.syscall(_SYS_MOVE_MOUNT, tree, b"", root, b"", _MOVE_FROM_FD | _MOVE_TO_FD))
    os.fchdir(tree)
    pivot_root(".", ".")
    unmount(".")
    for fd in (root, space, tree):
        os.close(fd)


RESOLVE_NO_MAGICLINKS = 0x02
RESOLVE_NO_SYMLINKS = 0x04
RESOLVE_BENEATH = 0x08


def open_beneath(folder, path, flags, mode=0):
    """Opens a file below a folder's descriptor. Symbolic links and ".." on the way are refused."""
    resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_BENEATH
    how = (ctypes.c_uint64 * 3)(flags | os.O_CLOEXEC, mode, resolve)
    return _checked(_LIBC.syscall(_SYS_OPENAT2, folder, _path(path), how, ctypes.sizeof(how)), path)


def set_hostname(name):
    text = name.encode()
    _checked(_LIBC.sethostname(text, len(text)))


def close_others(kept):
    """Closes all descriptors but the standard ones and these."""
    for fd in [int(name) for name in os.listdir("/proc/self/fd")]:
        if fd > 2 and fd not in kept:
            try:
                os.close(fd)
            except OSError:  # that of the list itself
                pass


def die_with_parent(signal_number):
    _checked(_LIBC.prctl(_PR_SET_PDEATHSIG, signal_number, 0, 0, 0))


def set_dumpable(may_be):
    """Whether others may trace this process and look into it, until it becomes another program. Where they may not, its files in /proc
    belong to the machine's root."""
    _checked(_LIBC.prctl(_PR_SET_DUMPABLE, int(may_be), 0, 0, 0))


def adopt_orphans():
    """Makes this process the parent of whatever its descendants leave behind."""
    _checked(_LIBC.prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0))


def set_process_name(name):
    """As it is shown where processes are listed."""
    _checked(_LIBC.prctl(_PR_SET_NAME, name.encode(), 0, 0, 0))


def children():
    """The process ids of this process's children, whom adopted orphans are among."""
    with open(f"/proc/self/task/{os.getpid()}/children") as file:
        return [int(word) for word in file.read().split()]


def refuse_new_privileges():
    _checked(_LIBC.prctl(_PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0))


def last_capability():
    with open("/proc/sys/kernel/cap_last_cap") as file:
        return int(file.read())


def keep_capabilities(numbers, last):
    """Drops all capabilities but these, of those that there are up to `last`, for good."""
    for number in range(last + 1):
        if number not in numbers:
            _checked(_LIBC.prctl(_PR_CAPBSET_DROP, number, 0, 0, 0))
    _checked(_LIBC.prctl(_PR_CAP_AMBIENT, _PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0))
    kept = sum(1 << number for number in numbers)
    header = (ctypes.c_uint32 * 2)(0x20080522, 0)
    low, high = kept & 0xFFFFFFFF, kept >> 32
    data = (ctypes.c_uint32 * 6)(low, low, 0, high, high, 0)  # effective, permitted, inheritable
    _checked(_LIBC.capset(header, data))


def watch_folder(path):
    """Returns a descriptor that can be read when a file in the folder was written or came there."""
    fd = _checked(_LIBC.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK))
    _checked(_LIBC.inotify_add_watch(fd, _path(path), IN_CLOSE_WRITE | IN_MOVED_TO), path)
    return fd


def read_watch(fd):
    """The names of the files that this happened to; an empty one where there were too many to tell."""
    try:
        data = os.read(fd, 65536)
    except BlockingIOError:
        return set()
    names, at = set(), 0
    while at < len(data):
        length = int.from_bytes(data[at + 12 : at + 16], sys.byteorder)
        names.add(os.fsdecode(data[at + 16 : at + 16 + length].rstrip(b"\0")))
        at += 16 + length
    return names


def make_queue(key, mode):
    return _checked(_LIBC.msgget(ctypes.c_int(key), IPC_CREAT | IPC_EXCL | mode))


def remove_queue(queue):
    _LIBC.msgctl(queue, IPC_RMID, None)


def landlock_version():
    """0 where the kernel has no Landlock."""
    return max(0, _LIBC.syscall(_SYS_LANDLOCK_CREATE_RULESET, None, ctypes.c_size_t(0), 1))


def landlock(handled_files, handled_network, scoped, rules):
    """Restricts this process and all that it starts. `rules`: (path, rights); what is handled and no rule allows is denied."""
    attributes = (ctypes.c_uint64 * 3)(handled_files, handled_network, scoped)
    size = 8 * (3 if scoped else 2 if handled_network else 1)
    ruleset = _checked(_LIBC.syscall(_SYS_LANDLOCK_CREATE_RULESET, attributes, ctypes.c_size_t(size), 0))
    for path, rights in rules:
        try:
            fd = os.open(path, os.O_PATH | os.O_CLOEXEC)
        except FileNotFoundError:
            continue
        rule = (ctypes.c_char * 12)()
        rule.raw = rights.to_bytes(8, "little") + fd.to_bytes(4, "little")
        _checked(_LIBC.syscall(_SYS_LANDLOCK_ADD_RULE, ruleset, 1, rule, 0), path)
        os.close(fd)
    refuse_new_privileges()
    _checked(_LIBC.syscall(_SYS_LANDLOCK_RESTRICT_SELF, ruleset, 0))
    os.close(ruleset)
